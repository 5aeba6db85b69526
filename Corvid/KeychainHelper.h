#pragma once

#include "Base/Settings.h"
#include "Platform/SecretStore.h"

#include <functional>
#include <optional>
#include <utility>

namespace corvid {

/** The secrets that we hold, of which there is one: the user's key for the AI endpoint. Main thread
    only; never blocks. A failed read is no value, a failed write is lost. */
class KeychainHelper {
public:
    /** The store must outlive this. Asks for the AI key at once, so that it is at hand when it is
        needed. */
    explicit KeychainHelper(SecretStore &store) : store_(store) { has(settings::aiKeyAccount); }

    /** The stored text for an account; see SecretStore::get(). */
    std::optional<QString> get(const QString &key) const { return store_.get(key); }

    /** Whether there is one. */
    bool has(const QString &key) const { return store_.has(key); }

    /** Whether there is one that cannot be read as long as the keyring is locked. */
    bool locked(const QString &key) const { return store_.locked(key); }

    /** Has the desktop ask for the keyring's password; see SecretStore::unlock(). */
    void unlock(const QString &key, std::function<void()> done) {
        store_.unlock(key, std::move(done));
    }

    /** Replaces the stored text, which may be empty. Says what came of it as SecretStore::set()
        does. */
    void save(const QString &key, const QString &value, SecretStore::OnSaved onSaved = nullptr) {
        store_.set(key, value, std::move(onSaved));
    }

private:
    SecretStore &store_;
};

} // namespace corvid
