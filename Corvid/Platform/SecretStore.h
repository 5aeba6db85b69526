#pragma once

#include <QString>

#include <optional>

namespace corvid {

/** The secure credential store, for the one service that is ours. */
class SecretStore {
public:
    SecretStore() = default;
    SecretStore(const SecretStore &) = delete;
    SecretStore &operator=(const SecretStore &) = delete;
    virtual ~SecretStore() = default;

    /** The secret of an account; nothing when there is none or it cannot be had. Answers at once
        from what the service last said. */
    virtual std::optional<QString> get(const QString &account) const = 0;
};

} // namespace corvid
