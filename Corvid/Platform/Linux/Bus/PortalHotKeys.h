#pragma once

#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/GLibPointers.h"

#include <QByteArray>
#include <QObject>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace corvid {

/**
 * The hot key as a global shortcut of the desktop's portal, for sessions whose window system lets
 * no program listen to keys. The combination is what we would like; the desktop has the last word,
 * and the user may change it there. Where no portal offers shortcuts, or the user refuses, it could
 * not be had. One that starts later or comes back is asked again.
 *
 * A thread sleeps on a connection to the bus of its own; it starts with the first combination that
 * is asked for. No time comes with a press, as a portal's clock counts from anywhere.
 */
class PortalHotKeys final : public HotKeyBackend {
public:
    /** Receives, on the main thread, what entitles our next window to the keyboard: right before
        the press that it came with is told, and an empty one when that press has been dealt with.
        Not called for presses that no token comes with. */
    using TokenReceiver = std::function<void(const QByteArray &token)>;

    /** How far the repeated presses of a held key are apart at most. Some portals tell these like
        the first, and a release might get lost. */
    static constexpr std::chrono::milliseconds usualRepeat{2'000};

    explicit PortalHotKeys(TokenReceiver receiveToken = nullptr,
                           std::chrono::milliseconds longestRepeat = usualRepeat);
    ~PortalHotKeys() override;

    void grab(const HotKey &hotKey, Callbacks callbacks) override;
    void release() override;
    void dealtWith(quint32 time, NextKeys nextKeys) override;

private:
    struct Wish {
        std::optional<HotKey> hotKey;
        Callbacks callbacks;
        std::uint64_t number = 0;
    };

    void makeWish(std::optional<HotKey> hotKey, Callbacks callbacks);
    void run(const std::stop_token &stop);

    const TokenReceiver receiveToken_;
    const std::chrono::milliseconds longestRepeat_;
    bool tokenIsOut_ = false; ///< the receiver has one
    const std::shared_ptr<GMainContext> context_;
    /** Held while a callback runs, so that none runs after it was withdrawn. */
    std::mutex mutex_;
    Wish wish_;
    QObject receiver_; ///< what the thread sends is dropped with us
    std::jthread thread_;
};

} // namespace corvid
