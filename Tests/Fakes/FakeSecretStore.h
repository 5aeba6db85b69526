#pragma once

#include "Platform/SecretStore.h"

#include <QHash>

namespace corvid {

class FakeSecretStore final : public SecretStore {
public:
    QHash<QString, QString> secrets;

    std::optional<QString> get(const QString &account) const override {
        const auto secret = secrets.constFind(account);
        if (secret == secrets.cend())
            return std::nullopt;
        return *secret;
    }
    void set(const QString &account, const QString &secret) override {
        secrets.insert(account, secret);
    }
};

} // namespace corvid
