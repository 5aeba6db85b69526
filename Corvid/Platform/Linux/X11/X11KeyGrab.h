#pragma once

#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace corvid {

/**
 * One passively grabbed key combination on all screens of an X11 display, over a connection of
 * its own, with which the grab ends. Its requests wait for the server's answer: use it on one
 * background thread.
 */
class X11KeyGrab {
public:
    explicit X11KeyGrab(x11::Connection connection);

    /** Becomes readable when something may have happened. */
    int fileDescriptor() const;

    /** Grabs the key by its position, whether Caps Lock and Num Lock are on or off, in place of the
        one before. False when another program holds the combination, wholly or with one of the
       locks on, or when the display has no such key: then nothing is grabbed. */
    bool grab(const HotKey &hotKey);

    void release();

    /** The first of these that grab() would get. Nothing else changes. Absent for none. */
    std::optional<HotKey> firstFree(const std::vector<HotKey> &candidates);

    struct Press {
        std::uint32_t time;
        std::uint16_t modifiers; ///< of the combination, as in the state of key events
    };
    struct Events {
        /** Set when the keyboard's mapping changed so that the combination was grabbed anew. */
        std::optional<bool> regrabbed;
        bool connectionLost = false;
    };
    /** Takes what has happened since the last call; does not wait for more. `pressed` gets each
        press, auto-repeat left out. From a press on the server keeps back all events of keys
        until letGo() or discard(). */
    Events takeEvents(const std::function<void(const Press &)> &pressed);

    /** Gives the keys that are kept back, if any, to the window that has the keyboard now. */
    void letGo();

    /** Drops the keys that are kept back, if any; those that follow from now on go to the window
        that has the keyboard. */
    void discard();

private:
    /** Which of the eight modifiers Alt, Super and Num Lock set. */
    struct Modifiers {
        std::uint16_t option = 0, command = 0, numLock = 0;
        bool operator==(const Modifiers &) const = default;
    };

    bool readModifiers();
    bool choose(const HotKey &hotKey);
    std::uint16_t stateOf(const HotKey &hotKey) const;
    bool grabKey();
    void ungrabKey();
    void takePress(const xcb_key_press_event_t &press,
                   const std::function<void(const Press &)> &pressed);
    bool isCombination(const xcb_key_press_event_t &event) const;
    void thawed();
    void noteHeld();
    void watchReleases(bool watch);
    void takeRawEvent(const xcb_generic_event_t &event);

    x11::Connection connection_;
    std::vector<std::uint32_t> roots_;
    /** Of the XInput extension; absent where the server has none, or too old a one. */
    std::optional<std::uint8_t> inputOpcode_;
    Modifiers modifiers_;
    std::optional<HotKey> hotKey_;
    std::uint8_t keyCode_ = 0;
    /** The time of the press after which keys are kept back; absent while they are not. */
    std::optional<std::uint32_t> keptSince_;
    /** The sequence number of the last discard()'s last request: earlier presses do not count. */
    std::uint32_t discarded_ = 0;
    /** From a press to the release of the key: what comes meanwhile is auto-repeat. */
    bool held_ = false;
};

} // namespace corvid
