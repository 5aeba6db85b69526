#pragma once

#include "Base/VirtualKeys.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QByteArray>
#include <QString>

#include <linux/input-event-codes.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace corvid::test {

// X key codes of positions on the keyboard; negative ones are released.
using Keys = std::vector<int>;
inline constexpr int codeOffset = static_cast<int>(evdevOffset);
inline constexpr int altKey = KEY_LEFTALT + codeOffset;
inline constexpr int superKey = KEY_LEFTMETA + codeOffset;
inline constexpr int controlKey = KEY_LEFTCTRL + codeOffset;
inline constexpr int shiftKey = KEY_LEFTSHIFT + codeOffset;
inline constexpr int kKey = KEY_K + codeOffset;
inline constexpr int escapeKey = KEY_ESC + codeOffset;
inline constexpr int returnKey = KEY_ENTER + codeOffset;
inline constexpr int capsLockKey = KEY_CAPSLOCK + codeOffset;
inline constexpr int numLockKey = KEY_NUMLOCK + codeOffset;

inline Keys operator+(Keys first, const Keys &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

inline Keys stroke(int key) {
    return {key, -key};
}

inline constexpr std::array<int, 26> letterKeys{
    KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I, KEY_J, KEY_K, KEY_L, KEY_M,
    KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R, KEY_S, KEY_T, KEY_U, KEY_V, KEY_W, KEY_X, KEY_Y, KEY_Z};

/** Strokes of the keys that have these letters on a US keyboard. */
inline Keys typing(const QString &letters) {
    Keys result;
    for (const QChar letter : letters)
        result = result + stroke(letterKeys.at(letter.unicode() - u'a') + codeOffset);
    return result;
}

inline bool isNoLetter(int key) {
    return std::find(letterKeys.begin(), letterKeys.end(), key - codeOffset) == letterKeys.end();
}

/** Twelve letters, others in each of two thousand rounds. */
inline QString twelveLetters(int round) {
    QString result;
    for (int i = 0; i < 12; ++i)
        result +=
            QChar(u'a' + (round * 5 + i * (1 + round % 3 * 2) + (i == 0 ? round / 78 : 0)) % 26);
    return result;
}

/** Some other program's window, which has the keyboard before the panel; and the keyboard. */
class WindowBefore {
public:
    explicit WindowBefore(const QByteArray &display)
        : connection_(xcb_connect(display.constData(), nullptr)) {
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        root_ = screen->root;
        window_ = xcb_generate_id(connection_);
        const std::uint32_t values[]{screen->white_pixel, XCB_EVENT_MASK_KEY_PRESS};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, root_, 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
        constexpr char userTime[] = "_NET_WM_USER_TIME";
        const x11::Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, sizeof userTime - 1, userTime), nullptr));
        userTime_ = atom->atom;
        xcb_map_window(connection_, window_);
        xcb_flush(connection_);
    }
    WindowBefore(const WindowBefore &) = delete;
    WindowBefore &operator=(const WindowBefore &) = delete;
    ~WindowBefore() { xcb_disconnect(connection_); }

    /** All at once: faster than any person. */
    void press(const Keys &keys) {
        for (const int key : keys)
            xcb_test_fake_input(connection_, key > 0 ? XCB_KEY_PRESS : XCB_KEY_RELEASE,
                                static_cast<std::uint8_t>(std::abs(key)), XCB_CURRENT_TIME, root_,
                                0, 0, 0);
        xcb_flush(connection_);
    }

    bool hasKeyboard() { return focus() == window_; }
    bool panelHasKeyboard() {
        const x11::Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(
            connection_,
            xcb_get_property(connection_, 0, focus(), XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 0, 16),
            nullptr));
        return name && QByteArray(static_cast<const char *>(xcb_get_property_value(name.get())),
                                  xcb_get_property_value_length(name.get())) == "Corvid";
    }

    /** The keys that were pressed while the window had the keyboard. */
    const Keys &keys() {
        focus(); // a round trip
        while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
            if (event->response_type != XCB_KEY_PRESS)
                continue;
            const auto &press = reinterpret_cast<const xcb_key_press_event_t &>(*event);
            keys_.push_back(press.detail);
            // As programs do: a window manager gives no focus to what is older.
            xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, userTime_,
                                XCB_ATOM_CARDINAL, 32, 1, &press.time);
        }
        xcb_flush(connection_);
        return keys_;
    }
    void forgetKeys() {
        keys();
        keys_.clear();
    }

private:
    xcb_window_t focus() {
        const x11::Reply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        return reply ? reply->focus : xcb_window_t{XCB_NONE};
    }

    xcb_connection_t *connection_;
    xcb_window_t root_;
    xcb_window_t window_;
    xcb_atom_t userTime_;
    Keys keys_;
};

} // namespace corvid::test
