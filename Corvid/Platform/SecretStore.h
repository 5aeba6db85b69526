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

    /** Stores the secret of an account in place of the one before. get() has it at once; should
        the desktop, or the user whom it asks for a password, refuse it, get() returns to what is
        stored. */
    virtual void set(const QString &account, const QString &secret) = 0;

    /** Called from the event loop when get() has another answer than before. */
    std::function<void()> onChange;
};

} // namespace corvid
