#pragma once

#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/X11/X11KeyHandover.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

namespace corvid {

/**
 * The hot key on an X11 display, whatever the platform that Qt draws on. A thread sleeps on a
 * connection of its own; it starts with the first combination that is asked for. Where there is
 * no display, or the display goes, no combination can be had until the next one is asked for.
 */
class X11HotKeys final : public HotKeyBackend {
public:
    /** How long the keys that follow a press are kept back at most. If no window of ours has the
        keyboard by then, they go nowhere: text meant for the panel must not end up in a document
        or a terminal. Long enough for a busy machine to show a window. The one thing that the
        thread cannot see to is a process that is stopped as a whole, by a debugger say, in just
        that moment: then the session's keyboard waits until the process goes on or ends. */
    static constexpr std::chrono::milliseconds usualPatience{2'000};

    /** An empty name is no display. Needs the application object. */
    explicit X11HotKeys(QByteArray display, std::chrono::milliseconds patience = usualPatience);
    ~X11HotKeys() override;

    void grab(const HotKey &hotKey, Callbacks callbacks) override;
    void release() override;
    void dealtWith(quint32 time, NextKeys nextKeys) override;

private:
    struct Wish {
        std::optional<HotKey> hotKey;
        Callbacks callbacks;
        std::uint64_t number = 0;
    };

    void letGo(quint32 time);
    void makeWish(std::optional<HotKey> hotKey, Callbacks callbacks);
    void run(const std::stop_token &stop);
    void wake() const;

    const QByteArray display_;
    const std::chrono::milliseconds patience_;
    const int wakeDescriptor_;
    /** Held while a callback runs, so that none runs after it was withdrawn. */
    std::mutex mutex_;
    Wish wish_;
    /** The press that has been dealt with. */
    std::optional<quint32> letGo_;
    /** Of the latest press. */
    std::uint16_t pressModifiers_ = 0;
    X11KeyHandover handover_;
    std::jthread thread_;
};

} // namespace corvid
