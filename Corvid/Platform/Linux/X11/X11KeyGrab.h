#pragma once

#include "Platform/HotKeyBackend.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct xcb_connection_t;
struct xcb_ge_generic_event_t;
struct xcb_key_press_event_t;

namespace corvid {

/**
 * One passively grabbed key combination on all screens of an X11 display, over a connection of
 * its own. Its requests wait for the server's answer: use it on one background thread.
 */
class X11KeyGrab {
public:
    /** Null when there is no such display. */
    static std::unique_ptr<X11KeyGrab> connect(const QByteArray &display);

    X11KeyGrab(const X11KeyGrab &) = delete;
    X11KeyGrab &operator=(const X11KeyGrab &) = delete;
    /** Gives everything back. */
    ~X11KeyGrab();

    /** Becomes readable when something may have happened. */
    int fileDescriptor() const;

    /** Grabs the key by its position, whatever Caps Lock and Num Lock say, in place of the one
        before. False when another program holds the combination, wholly or with one of the locks
        on, or when the display has no such key: then nothing is grabbed. */
    bool grab(const HotKey &hotKey);

    void release();

    struct Press {
        std::uint32_t time;
        /** As the events of keys tell them. */
        std::uint16_t modifiers;
    };
    struct Events {
        /** Set when the keyboard's mapping changed so that the combination was grabbed anew. */
        std::optional<bool> regrabbed;
        bool connectionLost = false;
    };
    /** Takes what has happened since the last call; does not wait for more. `pressed` gets each
        press, auto-repeat left out. From then on the display keeps back every key, pressed or
        released, until letGo(). */
    Events takeEvents(const std::function<void(const Press &)> &pressed);

    /** Lets the keys that followed the press of this time go to the window that has the keyboard
        now. Does nothing when they went already. */
    void letGo(std::uint32_t time);

    /** Lets the keys that followed the press of this time go nowhere, and those after them to the
        window that has the keyboard. Does nothing when they went already. */
    void discard(std::uint32_t time);

private:
    struct Modifiers {
        std::uint16_t option, command, numLock;
        bool operator==(const Modifiers &) const = default;
    };

    explicit X11KeyGrab(xcb_connection_t *connection);
    Modifiers readModifiers() const;
    std::uint16_t stateOf(const HotKey &hotKey) const;
    bool grabKey();
    void ungrabKey();
    bool isCombination(const xcb_key_press_event_t &event) const;
    void thawed();
    void noteHeld();
    void watchReleases(bool watch);
    void takeRawEvent(const xcb_ge_generic_event_t &event);

    xcb_connection_t *connection_;
    std::vector<std::uint32_t> roots_;
    /** Of the input extension; absent where the server has none, or too old a one. */
    std::optional<std::uint8_t> inputOpcode_;
    Modifiers modifiers_;
    std::optional<HotKey> hotKey_;
    std::uint8_t keyCode_ = 0;
    /** The time of the press after which the keys are kept back. */
    std::optional<std::uint32_t> keptSince_;
    /** The number of the request that ended the last discard(): keys from before it are void. */
    std::uint32_t discarded_ = 0;
    /** From a press to the release of the key: what comes meanwhile is auto-repeat. */
    bool held_ = false;
};

} // namespace corvid
