#pragma once

#include "Platform/Linux/GLibPointers.h"

#include <QString>

#include <array>
#include <functional>
#include <optional>

// As libsecret spells it.
using SecretService = struct _SecretService;

namespace corvid {

/**
 * The desktop's Secret Service. Items are found by the attributes `service` and `account`,
 * whatever schema they were stored with, so that `secret-tool` works on the same ones.
 *
 * For one background thread, the same from construction to destruction, whose thread-default
 * main context it runs between calls. Every call blocks until the service has answered or
 * `cancellable` is cancelled (from any thread).
 */
class SecretServiceStore {
public:
    enum class Start {
        IfNeeded, ///< the bus starts the service when it does not run yet
        Never,
    };
    enum class Result {
        Done,    ///< saved, or found: an item whose secret may be locked or no text
        Nothing, ///< there is no service and none can be started, or it has no such item
        Locked,  ///< the user was asked to unlock it and did not, or nobody could ask
        Failed,  ///< cancelled, or what came was an error
    };
    struct Answer {
        Result result = Result::Failed;
        std::optional<QString> secret = {};
        bool locked = false; ///< there is an item, but its secret cannot be read now
    };

    /** `onChange` is called from the main context whenever an answer may be another one. */
    explicit SecretServiceStore(std::function<void()> onChange);
    Q_DISABLE_COPY_MOVE(SecretServiceStore)
    ~SecretServiceStore();

    /** Never unlocks anything, so that the user is never asked for a password. */
    Answer get(const QString &account, Start start, GCancellable *cancellable);

    /** Replaces the secret of the item there is, or makes one in the default collection. May
        have the desktop ask the user to unlock it, and waits for that. */
    Result set(const QString &account, const QString &secret, GCancellable *cancellable);

    /** Has the desktop ask the user to unlock the item there is, and waits for that. */
    Result unlock(const QString &account, GCancellable *cancellable);

private:
    Result connect(Start start, GCancellable *cancellable);
    void listen();

    std::function<void()> onChange_;
    /** Null while there is none. Not the shared one, whose loss is reported to the thread that made
        it. */
    GObjectPointer<GDBusConnection> bus_;
    std::array<guint, 2> subscriptions_{};
    GObjectPointer<SecretService> service_; ///< null until it has answered
};

} // namespace corvid
