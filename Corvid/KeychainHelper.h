#pragma once

#include "Base/Settings.h"
#include "Platform/SecretStore.h"

namespace corvid {

/** The secrets that we hold, of which there is one: the user's key for the AI endpoint. Main thread
    only; never blocks. No failure is reported: a failed read is no value, a failed write is
    lost. */
class KeychainHelper {
public:
    /** The store must outlive this. Asks for the AI key at once, so that it is at hand when it is
        needed. */
    explicit KeychainHelper(SecretStore &store) : store_(store) { has(settings::aiKeyAccount); }

    /** The stored text for an account; see SecretStore::get(). */
    std::optional<QString> get(const QString &key) const { return store_.get(key); }

    /** Whether there is one. */
    bool has(const QString &key) const { return store_.has(key); }

    /** Replaces the stored text, which may be empty. */
    void save(const QString &key, const QString &value) { store_.set(key, value); }

private:
    SecretStore &store_;
};

} // namespace corvid
