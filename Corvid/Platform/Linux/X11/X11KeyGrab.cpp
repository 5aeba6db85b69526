#include "Platform/Linux/X11/X11KeyGrab.h"

#include "Base/VirtualKeys.h"

#include <xcb/xinput.h>

#include <span>
#include <utility>

namespace corvid {

namespace {

constexpr std::uint16_t realModifiers = 0xff;

// From this version on raw events arrive even while another program has grabbed the keyboard.
constexpr std::uint16_t inputMajor = 2;
constexpr std::uint16_t inputMinor = 1;

std::optional<std::uint8_t> inputExtension(xcb_connection_t *connection) {
    const auto *extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || !extension->present)
        return std::nullopt;
    const x11::Reply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection, xcb_input_xi_query_version(connection, inputMajor, inputMinor), nullptr));
    if (!version || std::pair(version->major_version, version->minor_version) <
                        std::pair(inputMajor, inputMinor))
        return std::nullopt;
    return extension->major_opcode;
}

} // namespace

X11KeyGrab::X11KeyGrab(x11::Connection connection)
    : connection_(std::move(connection)), inputOpcode_(inputExtension(connection_)) {
    readModifiers();
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (; screens.rem > 0; xcb_screen_next(&screens))
        roots_.push_back(screens.data->root);
}

int X11KeyGrab::fileDescriptor() const {
    return xcb_get_file_descriptor(connection_);
}

bool X11KeyGrab::grab(const HotKey &hotKey) {
    release();
    if (!choose(hotKey))
        return false;
    // A user who has just recorded the combination may still hold it down.
    noteHeld();
    return grabKey();
}

// False when there is no such key.
bool X11KeyGrab::choose(const HotKey &hotKey) {
    const VirtualKey *const key = findKey(&VirtualKey::code, hotKey.keyCode);
    const xcb_setup_t *setup = xcb_get_setup(connection_);
    if (!key || key->evdev + evdevOffset > setup->max_keycode)
        return false;
    hotKey_ = hotKey;
    keyCode_ = static_cast<std::uint8_t>(key->evdev + evdevOffset);
    return true;
}

std::optional<HotKey> X11KeyGrab::firstFree(const std::vector<HotKey> &candidates) {
    const std::optional<HotKey> wanted = hotKey_;
    const std::uint8_t wantedKey = keyCode_;
    std::optional<HotKey> result;
    for (const HotKey &candidate : candidates) {
        if (!choose(candidate) || !grabKey())
            continue;
        ungrabKey();
        result = candidate;
        break;
    }
    hotKey_ = wanted;
    keyCode_ = wantedKey;
    return result;
}

void X11KeyGrab::release() {
    if (!hotKey_)
        return;
    ungrabKey();
    letGo();
    watchReleases(false);
    held_ = false;
    hotKey_.reset();
    xcb_flush(connection_);
}

X11KeyGrab::Events X11KeyGrab::takeEvents(const std::function<void(const Press &)> &pressed) {
    Events result;
    bool mappingChanged = false;
    do {
        // Keys are grabbed by position, so only changed modifiers matter.
        if (std::exchange(mappingChanged, false) && readModifiers() && hotKey_) {
            ungrabKey();
            result.regrabbed = grabKey();
        }
        while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
            const auto type = x11::typeOf(*event);
            if (type == XCB_KEY_PRESS && event->full_sequence >= discarded_)
                takePress(x11::as<xcb_key_press_event_t>(*event), pressed);
            else if (type == XCB_GE_GENERIC)
                takeRawEvent(*event);
            else if (type == XCB_MAPPING_NOTIFY)
                mappingChanged |=
                    x11::as<xcb_mapping_notify_event_t>(*event).request != XCB_MAPPING_POINTER;
        }
    } while (mappingChanged);
    result.connectionLost = xcb_connection_has_error(connection_) != 0;
    return result;
}

// With each press the server has grabbed the whole keyboard for us and frozen it.
void X11KeyGrab::takePress(const xcb_key_press_event_t &press,
                           const std::function<void(const Press &)> &pressed) {
    keptSince_ = press.time;
    if (held_ || !isCombination(press)) {
        letGo();
        return;
    }
    pressed({press.time, stateOf(*hotKey_)});
    held_ = inputOpcode_.has_value();
    watchReleases(held_);
}

// Ends the grab instead of only thawing it: else all keys would come to us while the hot key is
// held.
void X11KeyGrab::letGo() {
    if (!keptSince_)
        return;
    xcb_ungrab_keyboard(connection_, *keptSince_);
    thawed();
}

// A new grab of the keyboard, so that all keys that were kept back come to us. The one that the
// press began would end at the hot key's release, which may be among them.
void X11KeyGrab::discard() {
    if (!keptSince_)
        return;
    const auto grab = xcb_grab_keyboard(connection_, 0, roots_.front(), XCB_CURRENT_TIME,
                                        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_discard_reply(connection_, grab.sequence);
    discarded_ = xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME).sequence;
    thawed();
}

void X11KeyGrab::thawed() {
    keptSince_.reset();
    if (held_)
        noteHeld(); // the key may have been released while no events came
    xcb_flush(connection_);
}

bool X11KeyGrab::readModifiers() {
    const xcb_setup_t *setup = xcb_get_setup(connection_);
    const auto mappingCookie = xcb_get_modifier_mapping(connection_);
    const auto symbolsCookie = xcb_get_keyboard_mapping(
        connection_, setup->min_keycode,
        static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1));
    const x11::Reply<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(connection_, mappingCookie, nullptr));
    const x11::Reply<xcb_get_keyboard_mapping_reply_t> symbols(
        xcb_get_keyboard_mapping_reply(connection_, symbolsCookie, nullptr));
    Modifiers result;
    const struct {
        std::uint16_t &modifier;
        xcb_keysym_t left, right;
        std::uint16_t usual; // on nearly every keyboard; used where this one does not tell
    } wanted[]{{result.option, 0xffe9, 0xffea, XCB_MOD_MASK_1},  // Alt_L, Alt_R
               {result.command, 0xffeb, 0xffec, XCB_MOD_MASK_4}, // Super_L, Super_R
               {result.numLock, 0xff7f, 0xff7f, 0}};             // Num_Lock
    const int perModifier = mapping ? mapping->keycodes_per_modifier : 0;
    for (int i = XCB_MAP_INDEX_1 * perModifier; symbols && i < 8 * perModifier; ++i) {
        const xcb_keycode_t key = xcb_get_modifier_mapping_keycodes(mapping.get())[i];
        const int perKey = symbols->keysyms_per_keycode;
        const int first = (key - setup->min_keycode) * perKey;
        if (first < 0 || first + perKey > xcb_get_keyboard_mapping_keysyms_length(symbols.get()))
            continue;
        const std::span ofKey(xcb_get_keyboard_mapping_keysyms(symbols.get()) + first,
                              static_cast<std::size_t>(perKey));
        for (const xcb_keysym_t symbol : ofKey)
            for (const auto &[modifier, left, right, usual] : wanted)
                if (modifier == 0 && (symbol == left || symbol == right))
                    modifier = static_cast<std::uint16_t>(1 << (i / perModifier));
    }
    for (const auto &each : wanted)
        if (each.modifier == 0)
            each.modifier = each.usual;
    return std::exchange(modifiers_, result) != result;
}

std::uint16_t X11KeyGrab::stateOf(const HotKey &hotKey) const {
    const std::pair<quint32, std::uint16_t> states[]{{HotKey::shift, XCB_MOD_MASK_SHIFT},
                                                     {HotKey::control, XCB_MOD_MASK_CONTROL},
                                                     {HotKey::option, modifiers_.option},
                                                     {HotKey::command, modifiers_.command}};
    std::uint16_t result = 0;
    for (const auto &[modifier, state] : states)
        if (hotKey.modifiers & modifier)
            result |= state;
    return result;
}

bool X11KeyGrab::grabKey() {
    const std::uint16_t state = stateOf(*hotKey_);
    std::vector<xcb_void_cookie_t> cookies;
    for (const xcb_window_t root : roots_) {
        for (const std::uint32_t caps : {0U, std::uint32_t{XCB_MOD_MASK_LOCK}}) {
            for (const std::uint32_t num : {0U, std::uint32_t{modifiers_.numLock}}) {
                cookies.push_back(xcb_grab_key_checked(
                    connection_, 0, root, static_cast<std::uint16_t>(state | caps | num), keyCode_,
                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC));
            }
        }
    }
    bool obtained = true;
    for (const xcb_void_cookie_t cookie : cookies)
        if (const x11::Reply<xcb_generic_error_t> error{xcb_request_check(connection_, cookie)})
            obtained = false;
    // All or nothing: a hot key that depends on Caps Lock would puzzle everyone.
    if (!obtained)
        ungrabKey();
    return obtained && !xcb_connection_has_error(connection_);
}

// Once it returns, others can have the combination: whoever hears that it is free may try at once.
void X11KeyGrab::ungrabKey() {
    for (const xcb_window_t root : roots_) {
        const xcb_void_cookie_t cookie =
            xcb_ungrab_key_checked(connection_, keyCode_, root, XCB_MOD_MASK_ANY);
        const x11::Reply<xcb_generic_error_t> refused{xcb_request_check(connection_, cookie)};
    }
}

// Presses of a combination that was replaced may still arrive.
bool X11KeyGrab::isCombination(const xcb_key_press_event_t &event) const {
    if (!hotKey_ || event.detail != keyCode_)
        return false;
    const std::uint32_t locks = XCB_MOD_MASK_LOCK | std::uint32_t{modifiers_.numLock};
    return (event.state & realModifiers & ~locks) == (stateOf(*hotKey_) & ~locks);
}

// The event of the release goes to the focused window, so we watch raw events. The key may be up
// before the watch begins, so its state is asked for only after that.
void X11KeyGrab::noteHeld() {
    watchReleases(true);
    const x11::Reply<xcb_query_keymap_reply_t> keymap(
        xcb_query_keymap_reply(connection_, xcb_query_keymap(connection_), nullptr));
    constexpr unsigned bits = 8;
    held_ =
        inputOpcode_ && keymap && (keymap->keys[keyCode_ / bits] & (1U << (keyCode_ % bits))) != 0;
    if (!held_)
        watchReleases(false);
}

// Not all the time: every key released anywhere would wake us.
void X11KeyGrab::watchReleases(bool watch) {
    if (inputOpcode_)
        x11::selectDeviceEvents(connection_, roots_.front(),
                                watch ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE}
                                      : 0U);
}

void X11KeyGrab::takeRawEvent(const xcb_generic_event_t &event) {
    const auto &release = x11::as<xcb_input_raw_key_release_event_t>(event);
    if (release.extension == inputOpcode_ && release.event_type == XCB_INPUT_RAW_KEY_RELEASE &&
        release.detail == keyCode_ && held_) {
        held_ = false;
        watchReleases(false);
    }
}

} // namespace corvid
