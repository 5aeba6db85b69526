#include "Platform/Linux/X11/X11KeyGrab.h"

#include "Base/VirtualKeys.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <array>
#include <span>

namespace corvid {

namespace {

constexpr std::uint16_t realModifiers = 0xff;

constexpr xcb_keysym_t numLockSymbol = 0xff7f;
constexpr std::array<xcb_keysym_t, 2> optionSymbols{0xffe9, 0xffea};  // Alt_L, Alt_R
constexpr std::array<xcb_keysym_t, 2> commandSymbols{0xffeb, 0xffec}; // Super_L, Super_R

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

std::unique_ptr<X11KeyGrab> X11KeyGrab::connect(const QByteArray &display) {
    x11::Connection connection = x11::connectTo(display);
    if (!connection)
        return nullptr;
    return std::unique_ptr<X11KeyGrab>(new X11KeyGrab(std::move(connection)));
}

X11KeyGrab::X11KeyGrab(x11::Connection connection)
    : connection_(std::move(connection)), inputOpcode_(inputExtension(connection_)),
      modifiers_(readModifiers()) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (; screens.rem > 0; xcb_screen_next(&screens))
        roots_.push_back(screens.data->root);
}

int X11KeyGrab::fileDescriptor() const {
    return xcb_get_file_descriptor(connection_);
}

bool X11KeyGrab::grab(const HotKey &hotKey) {
    release();
    const VirtualKey *const key = findKey(&VirtualKey::code, hotKey.keyCode);
    const xcb_setup_t *setup = xcb_get_setup(connection_);
    if (!key || key->evdev + evdevOffset > setup->max_keycode)
        return false;
    hotKey_ = hotKey;
    keyCode_ = static_cast<std::uint8_t>(key->evdev + evdevOffset);
    // A user who has just recorded the combination may still hold it down.
    noteHeld();
    return grabKey();
}

void X11KeyGrab::release() {
    if (!hotKey_)
        return;
    ungrabKey();
    if (keptSince_)
        letGo(*keptSince_);
    watchReleases(false);
    held_ = false;
    hotKey_.reset();
    xcb_flush(connection_);
}

X11KeyGrab::Events X11KeyGrab::takeEvents(const std::function<void(const Press &)> &pressed) {
    Events result;
    bool mappingChanged = false;
    const auto take = [&](const xcb_generic_event_t &event) {
        switch (x11::typeOf(event)) {
        case XCB_KEY_PRESS: {
            if (event.full_sequence < discarded_)
                break;
            // With this press the server has grabbed the whole keyboard for us and frozen it.
            const auto &press = x11::as<xcb_key_press_event_t>(event);
            keptSince_ = press.time;
            if (isCombination(press) && !held_) {
                pressed({press.time, stateOf(*hotKey_)});
                held_ = inputOpcode_.has_value();
                watchReleases(held_);
            } else {
                letGo(press.time);
            }
            break;
        }
        case XCB_MAPPING_NOTIFY:
            mappingChanged |=
                x11::as<xcb_mapping_notify_event_t>(event).request != XCB_MAPPING_POINTER;
            break;
        case XCB_GE_GENERIC:
            takeRawEvent(event);
            break;
        default:
            break;
        }
    };
    for (;;) {
        while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
            take(*event);
        if (!std::exchange(mappingChanged, false))
            break;
        // Keys are grabbed by position, so only changed modifiers matter.
        const Modifiers modifiers = readModifiers();
        if (std::exchange(modifiers_, modifiers) == modifiers || !hotKey_)
            continue;
        ungrabKey();
        result.regrabbed = grabKey();
    }
    result.connectionLost = xcb_connection_has_error(connection_) != 0;
    return result;
}

// Ends the grab instead of only thawing it: else all keys would come to us while the hot key is
// held.
void X11KeyGrab::letGo(std::uint32_t time) {
    if (keptSince_ != time)
        return;
    xcb_ungrab_keyboard(connection_, time);
    thawed();
}

// A new grab of the keyboard, so that all keys that were kept back come to us. The one that the
// press began would end at the hot key's release, which may be among them.
void X11KeyGrab::discard(std::uint32_t time) {
    if (keptSince_ != time)
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

// Which of the eight modifiers Alt, Super and Num Lock set.
X11KeyGrab::Modifiers X11KeyGrab::readModifiers() const {
    const xcb_setup_t *setup = xcb_get_setup(connection_);
    const auto mappingCookie = xcb_get_modifier_mapping(connection_);
    const auto symbolsCookie = xcb_get_keyboard_mapping(
        connection_, setup->min_keycode,
        static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1));
    const x11::Reply<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(connection_, mappingCookie, nullptr));
    const x11::Reply<xcb_get_keyboard_mapping_reply_t> symbols(
        xcb_get_keyboard_mapping_reply(connection_, symbolsCookie, nullptr));
    // What nearly every keyboard has; used where this one does not tell.
    Modifiers result{XCB_MOD_MASK_1, XCB_MOD_MASK_4, 0};
    if (!mapping || !symbols)
        return result;

    const std::span<const xcb_keysym_t> allSymbols(
        xcb_get_keyboard_mapping_keysyms(symbols.get()),
        static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(symbols.get())));
    const std::size_t perKey = symbols->keysyms_per_keycode;
    const auto sets = [&](std::uint8_t key, std::span<const xcb_keysym_t> wanted) {
        const std::size_t first = (key - std::size_t{setup->min_keycode}) * perKey;
        if (key < setup->min_keycode || first + perKey > allSymbols.size())
            return false;
        const auto ofKey = allSymbols.subspan(first, perKey);
        return std::ranges::find_first_of(ofKey, wanted) != ofKey.end();
    };
    const std::span<const xcb_keycode_t> allKeys(
        xcb_get_modifier_mapping_keycodes(mapping.get()),
        static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(mapping.get())));
    const std::size_t perModifier = mapping->keycodes_per_modifier;
    const auto modifierOf =
        [&](std::span<const xcb_keysym_t> wanted) -> std::optional<std::uint16_t> {
        for (std::size_t i = XCB_MAP_INDEX_1; i <= XCB_MAP_INDEX_5; ++i)
            for (const xcb_keycode_t key : allKeys.subspan(i * perModifier, perModifier))
                if (key != 0 && sets(key, wanted))
                    return static_cast<std::uint16_t>(1U << i);
        return std::nullopt;
    };
    result.option = modifierOf(optionSymbols).value_or(result.option);
    result.command = modifierOf(commandSymbols).value_or(result.command);
    result.numLock = modifierOf({&numLockSymbol, 1}).value_or(result.numLock);
    return result;
}

std::uint16_t X11KeyGrab::stateOf(const HotKey &hotKey) const {
    std::uint32_t state = 0;
    if (hotKey.modifiers & HotKey::shift)
        state |= XCB_MOD_MASK_SHIFT;
    if (hotKey.modifiers & HotKey::control)
        state |= XCB_MOD_MASK_CONTROL;
    if (hotKey.modifiers & HotKey::option)
        state |= modifiers_.option;
    if (hotKey.modifiers & HotKey::command)
        state |= modifiers_.command;
    return static_cast<std::uint16_t>(state);
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

void X11KeyGrab::ungrabKey() {
    for (const xcb_window_t root : roots_)
        xcb_ungrab_key(connection_, keyCode_, root, XCB_MOD_MASK_ANY);
    xcb_flush(connection_);
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
