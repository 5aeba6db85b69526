#pragma once

#include "Platform/Desktop.h"
#include "Platform/Port.h"

#include <QFlags>
#include <QString>

#include <functional>
#include <vector>

namespace corvid {

/** What is held or in effect at a key press, as the window system tells it. */
enum class ModifierFlag : quint32 {
    CapsLock = 1U << 16,
    Shift = 1U << 17,
    Control = 1U << 18,
    Option = 1U << 19,  ///< the Alt key
    Command = 1U << 20, ///< the Super key
    NumericPad = 1U << 21,
    Function = 1U << 23, ///< set for function and arrow keys
};
// Without free operators: in this namespace they would hide Qt's own from all of us.
Q_DECLARE_FLAGS(ModifierFlags, ModifierFlag)

/** A key with modifiers. */
struct HotKey {
    // Bits of the modifiers, as they are stored.
    static constexpr quint32 command = 0x100;
    static constexpr quint32 shift = 0x200;
    static constexpr quint32 option = 0x800;
    static constexpr quint32 control = 0x1000;

    quint32 keyCode = 0; ///< virtual key code: a position on a US keyboard, whatever the layout
    quint32 modifiers = 0;

    bool operator==(const HotKey &) const = default;
};

/** What became of a combination that was asked for. */
enum class HotKeyAnswer {
    Obtained,
    Taken,      ///< another program has it
    NoPortal,   ///< only a portal could give it, and there is none
    NotOffered, ///< nothing here gives such a key to programs, or no key is meant
    Refused,    ///< by the portal or the user
    WithoutKey, ///< it was granted, but the desktop has no key for it
    Silent,     ///< the portal has not answered for long; it still may
};

/** Where the keys go that are pressed after the hot key. */
enum class NextKeys {
    WhoHasTheKeyboard,
    OurNextWindow, ///< to the window of ours that is about to get the keyboard
};

/**
 * Grabs one key combination from the whole session. Called on the main thread, never waits.
 * Nothing here fails: a combination that cannot be had is never pressed.
 */
class HotKeyBackend : public Port {
public:
    /** Called on any thread, one at a time, and not allowed to call the backend. */
    struct Callbacks {
        /** Once for each time the key goes down, however long it is held. The time is the window
            system's own, in milliseconds; 0 when it tells none. */
        std::function<void(quint32 time)> pressed;
        /** Whether the combination could be had; again whenever that changes. */
        std::function<void(HotKeyAnswer answer)> answered;
        /** Before it is told that another program has the combination: one that is free instead,
            of those that were asked for in that case. */
        std::function<void(const HotKey &hotKey)> foundFree = {};
        std::vector<HotKey> alternatives = {}; ///< the best one first
    };

    /** Asks for a combination in place of the one before. */
    virtual void grab(const HotKey &hotKey, Callbacks callbacks) = 0;

    /** Gives the combination back, if there is one. No callback runs once this returned. */
    virtual void release() = 0;

    /** To be called once for each press, with its time. Where the window system can, it keeps back
        the keys that follow a press until then; with NextKeys::OurNextWindow, until a window of
        ours has the keyboard, which does not see the hot key's own modifiers before they are
        released. Keys that are kept back for too long go nowhere. */
    virtual void dealtWith(quint32 time, NextKeys nextKeys) = 0;

    /** What the key of this code is called on the user's keyboard, such as "Space" or "Ö". Empty
        where that is not known. */
    virtual QString keyName(quint32 keyCode) const = 0;

    /** Where else the user can give a key to a command. */
    virtual Desktop desktop() const = 0;
};

} // namespace corvid
