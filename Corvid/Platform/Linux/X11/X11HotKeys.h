#pragma once

#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/DesktopAtHand.h"

#include <QAbstractNativeEventFilter>
#include <QByteArray>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace corvid {

/**
 * Tells when one of our windows gets the keyboard after a press of the hot key, and hides the hot
 * key's own modifiers from it. Sees the events of Qt's connection before Qt does, so it is in time
 * for the first key. Main thread only; on another platform than X11 nothing ever happens.
 */
class X11KeyHandover final : public QAbstractNativeEventFilter {
public:
    /** Needs the application object. */
    X11KeyHandover();

    /** Calls `arrived` once, when one of our windows next gets the keyboard. Replaces the call
        before. Our windows do not see these modifiers until they are released, for a person who
        types fast may still hold the hot key. */
    void await(std::uint16_t modifiers, std::function<void()> arrived);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    std::function<void()> arrived_;
    /** Those of the hot key's modifiers that have been held ever since the press. */
    std::uint16_t held_ = 0;
};

/**
 * The hot key on an X11 display, whatever the platform that Qt draws on. A thread with a connection
 * of its own sleeps until something happens; it starts at the first grab(). Where there is no
 * display, or after its loss, no combination can be had; each grab() tries anew.
 */
class X11HotKeys final : public HotKeyBackend {
public:
    /** How long the keys that follow a press are kept back at most: long enough for a busy machine
        to show a window. If none of ours has the keyboard by then they go nowhere, for text meant
        for the panel must not end up in a document or a terminal. Only when the whole process is
        stopped just then, by a debugger say, does the session's keyboard wait for longer: until
        the process continues or ends. */
    static constexpr std::chrono::milliseconds usualPatience{2'000};

    /** An empty name is no display. Needs the application object. */
    explicit X11HotKeys(QByteArray display, std::chrono::milliseconds patience = usualPatience);
    ~X11HotKeys() override;

    void grab(const HotKey &hotKey, Callbacks callbacks) override;
    void release() override;
    void dealtWith(quint32 time, NextKeys nextKeys) override;
    QString keyName(quint32 keyCode) const override { return nameOfKey(keyCode); }
    Desktop desktop() const override { return desktopAtHand(); }

private:
    class Worker;
    struct Wish {
        std::optional<HotKey> hotKey;
        Callbacks callbacks;
        std::uint64_t number = 0;
    };

    void letGo(quint32 time);
    void makeWish(std::optional<HotKey> hotKey, Callbacks callbacks);
    void wake() const;

    const QByteArray display_;
    const std::chrono::milliseconds patience_;
    const int wakeDescriptor_;
    /** Guards what follows. Held while a callback runs, so that none runs after release(). */
    std::mutex mutex_;
    Wish wish_;
    std::optional<quint32> letGo_; ///< a press that has been dealt with

    std::atomic<std::uint16_t> pressModifiers_ = 0; ///< of the latest press
    X11KeyHandover handover_;
    std::jthread thread_;
};

} // namespace corvid
