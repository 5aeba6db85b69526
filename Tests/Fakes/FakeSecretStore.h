#pragma once

#include "Platform/SecretStore.h"

#include <QHash>
#include <QTimer>

#include <utility>

namespace corvid {

class FakeSecretStore final : public SecretStore {
public:
    QHash<QString, QString> secrets;
    /** The user's answer decides when the desktop asks for the password. */
    bool isLocked = false;
    bool userUnlocks = true;
    int prompts = 0;

    std::optional<QString> get(const QString &account) const override {
        const auto secret = secrets.constFind(account);
        if (isLocked || secret == secrets.cend())
            return std::nullopt;
        return *secret;
    }
    bool locked(const QString &account) const override {
        return isLocked && secrets.contains(account);
    }
    void unlock(const QString & /*account*/, std::function<void()> done) override {
        QTimer::singleShot(0, [this, done = std::move(done)] {
            ask();
            done();
        });
    }
    using SecretStore::set;
    void set(const QString &account, const QString &secret, OnSaved onSaved) override {
        if (isLocked)
            ask();
        const bool stored = !isLocked;
        if (stored)
            secrets.insert(account, secret);
        if (onSaved) {
            QTimer::singleShot(0, [stored, onSaved = std::move(onSaved)] {
                onSaved(stored ? Saved::Stored : Saved::Locked);
            });
        }
    }

private:
    void ask() {
        ++prompts;
        isLocked = !userUnlocks;
    }
};

} // namespace corvid
