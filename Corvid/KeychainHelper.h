#pragma once

#include <QString>

#include <optional>

namespace corvid {

class SecretStore;

/** The one secret that we hold, the user's key for the AI endpoint, in the credential store. Main
    thread only; never blocks. No failure is reported: a failed read is no value, a failed write
    is lost. */
class KeychainHelper {
public:
    static const QString aiApiKey; ///< the account of the AI endpoint's key, "ai-api-key"

    /** The store must outlive this. Asks for the key at once, so that it is at hand when somebody
        needs it. */
    explicit KeychainHelper(SecretStore &store);

    /** The stored text for an account; see SecretStore::get(). */
    std::optional<QString> get(const QString &key) const;

    /** Replaces the stored text, which may be empty. */
    void save(const QString &key, const QString &value);

private:
    SecretStore &store_;
};

} // namespace corvid
