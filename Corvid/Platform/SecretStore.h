#pragma once

#include "Platform/Port.h"

#include <QLatin1StringView>
#include <QString>

#include <functional>
#include <optional>

namespace corvid {

/** What our secrets are filed under, besides their account. */
inline constexpr QLatin1StringView secretService("app.corvid.launcher");

/** The secure credential store, for the one service that is ours. Main thread only; nothing here
    blocks or fails. */
class SecretStore : public Port {
public:
    /** The secret of an account; nothing when there is none or it cannot be had. Answers at once
        from what the desktop last said: nothing the first time that an account is asked for. From
        then on the account is followed, whoever changes its secret. Never makes the desktop ask
        the user for a password. */
    virtual std::optional<QString> get(const QString &account) const = 0;

    /** Whether get() would answer with one, without a copy of it. */
    virtual bool has(const QString &account) const { return get(account).has_value(); }

    /** Whether there is a secret that cannot be had because it is locked. Knows as much as get().
     */
    virtual bool locked(const QString &account) const = 0;

    /** Has the desktop ask the user for the password that unlocks the secret of an account. Calls
        back from the event loop when that is over, whatever came of it: get() and locked() have
        the answer by then. */
    virtual void unlock(const QString &account, std::function<void()> done) = 0;

    enum class Saved {
        Stored,
        Locked, ///< the user did not unlock the store
        Failed,
    };
    using OnSaved = std::function<void(Saved)>;

    /** Stores the secret of an account in place of the one before. get() has it at once; should
        the desktop, or the user whom it asks for a password, refuse it, get() returns to what is
        stored. Says from the event loop what came of it, unless it is overtaken by a later one
        for the account; onChange follows. */
    virtual void set(const QString &account, const QString &secret, OnSaved onSaved) = 0;
    void set(const QString &account, const QString &secret) { set(account, secret, nullptr); }

    /** Called from the event loop when get() or locked() has another answer than before. */
    std::function<void()> onChange;
};

} // namespace corvid
