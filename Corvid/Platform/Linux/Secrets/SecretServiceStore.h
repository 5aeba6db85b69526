#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>

// As GLib spells it.
using GCancellable = struct _GCancellable;

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
    enum class State {
        Found,     ///< there is an item; its secret may be locked or no text
        NoItem,    ///< the service has no such item
        NoService, ///< there is none, or none that can be started
        NoAnswer,  ///< cancelled, or what came was an error
    };
    struct Answer {
        State state = State::NoAnswer;
        std::optional<QString> secret; ///< only where the state is Found
    };
    enum class Saved { Yes, NoService, Failed };

    /** `onChange` is called from the main context whenever an answer may be another one. */
    explicit SecretServiceStore(std::function<void()> onChange);
    SecretServiceStore(const SecretServiceStore &) = delete;
    SecretServiceStore &operator=(const SecretServiceStore &) = delete;
    ~SecretServiceStore();

    /** Never unlocks anything, so that the user is never asked for a password. */
    Answer get(const QString &account, Start start, GCancellable *cancellable);

    /** Replaces the secret of the item there is, or makes one in the default collection. May
        have the desktop ask the user to unlock it, and waits for that. */
    Saved set(const QString &account, const QString &secret, GCancellable *cancellable);

private:
    struct Connection;

    State connect(Start start, GCancellable *cancellable);

    std::function<void()> onChange_;
    std::unique_ptr<Connection> connection_; ///< null while there is no bus
};

} // namespace corvid
