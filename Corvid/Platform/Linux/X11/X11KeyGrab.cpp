#include "Platform/Linux/X11/X11KeyGrab.h"

#include "Base/VirtualKeys.h"

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>

namespace corvid {

namespace {

constexpr std::uint32_t evdevOffset = 8; // X key codes 0 to 7 mean something else
constexpr std::uint8_t eventCode = 0x7f; // the other bit tells events that clients sent
constexpr std::uint16_t realModifiers = 0xff;

constexpr xcb_keysym_t numLockSymbol = 0xff7f;
constexpr std::array<xcb_keysym_t, 2> optionSymbols{0xffe9, 0xffea};  // Alt_L, Alt_R
constexpr std::array<xcb_keysym_t, 2> commandSymbols{0xffeb, 0xffec}; // Super_L, Super_R

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

template <typename T>
const T &as(const xcb_generic_event_t &event) {
    return reinterpret_cast<const T &>(event);
}

// Raw events are seen although another program has grabbed the keyboard from this version on.
constexpr std::uint16_t inputMajor = 2;
constexpr std::uint16_t inputMinor = 1;

std::optional<std::uint8_t> inputExtension(xcb_connection_t *connection) {
    const auto *extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || !extension->present)
        return std::nullopt;
    const Reply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection, xcb_input_xi_query_version(connection, inputMajor, inputMinor), nullptr));
    if (!version || version->major_version < inputMajor ||
        (version->major_version == inputMajor && version->minor_version < inputMinor))
        return std::nullopt;
    return extension->major_opcode;
}

} // namespace

std::unique_ptr<X11KeyGrab> X11KeyGrab::connect(const QByteArray &display) {
    if (display.isEmpty())
        return nullptr;
    xcb_connection_t *connection = xcb_connect(display.constData(), nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    return std::unique_ptr<X11KeyGrab>(new X11KeyGrab(connection));
}

X11KeyGrab::X11KeyGrab(xcb_connection_t *connection)
    : connection_(connection), inputOpcode_(inputExtension(connection)),
      modifiers_(readModifiers()) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screens.rem > 0; xcb_screen_next(&screens))
        roots_.push_back(screens.data->root);
}

X11KeyGrab::~X11KeyGrab() {
    xcb_disconnect(connection_);
}

int X11KeyGrab::fileDescriptor() const {
    return xcb_get_file_descriptor(connection_);
}

bool X11KeyGrab::grab(const HotKey &hotKey) {
    release();
    const std::optional<quint32> evdev = evdevCode(hotKey.keyCode);
    const xcb_setup_t *setup = xcb_get_setup(connection_);
    if (!evdev || *evdev + evdevOffset > setup->max_keycode)
        return false;
    hotKey_ = hotKey;
    keyCode_ = static_cast<std::uint8_t>(*evdev + evdevOffset);
    // Whoever recorded this very combination may still hold it down.
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
        switch (event.response_type & eventCode) {
        case XCB_KEY_PRESS: {
            if (event.full_sequence < discarded_)
                break;
            // The press grabbed the whole keyboard and froze it.
            const auto &press = as<xcb_key_press_event_t>(event);
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
            mappingChanged |= as<xcb_mapping_notify_event_t>(event).request != XCB_MAPPING_POINTER;
            break;
        case XCB_GE_GENERIC:
            takeRawEvent(as<xcb_ge_generic_event_t>(event));
            break;
        default:
            break;
        }
    };
    for (;;) {
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
            take(*event);
        if (!std::exchange(mappingChanged, false))
            break;
        // Grabs are by position, so only another meaning of the modifiers touches them.
        const Modifiers modifiers = readModifiers();
        if (std::exchange(modifiers_, modifiers) == modifiers || !hotKey_)
            continue;
        ungrabKey();
        result.regrabbed = grabKey();
    }
    result.connectionLost = xcb_connection_has_error(connection_) != 0;
    return result;
}

// Giving the grab up, rather than only thawing it: the hot key may be held while other keys follow.
void X11KeyGrab::letGo(std::uint32_t time) {
    if (keptSince_ != time)
        return;
    xcb_ungrab_keyboard(connection_, time);
    thawed();
}

// The grab that the press brought ends with the release of its key, which may be among the keys
// that are kept back. One that we ask for does not: all of them come to us.
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
        noteHeld(); // the key may have gone up while nothing was told
    xcb_flush(connection_);
}

// Which of the eight modifiers the keys that are called Alt, Super and Num Lock set.
X11KeyGrab::Modifiers X11KeyGrab::readModifiers() const {
    const xcb_setup_t *setup = xcb_get_setup(connection_);
    const auto mappingCookie = xcb_get_modifier_mapping(connection_);
    const auto symbolsCookie = xcb_get_keyboard_mapping(
        connection_, setup->min_keycode,
        static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1));
    const Reply<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(connection_, mappingCookie, nullptr));
    const Reply<xcb_get_keyboard_mapping_reply_t> symbols(
        xcb_get_keyboard_mapping_reply(connection_, symbolsCookie, nullptr));
    // What nearly every keyboard has, should this one not tell.
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
        if (const Reply<xcb_generic_error_t> error{xcb_request_check(connection_, cookie)})
            obtained = false;
    // A combination that works with some locks only would puzzle everyone.
    if (!obtained)
        ungrabKey();
    return obtained && !xcb_connection_has_error(connection_);
}

void X11KeyGrab::ungrabKey() {
    for (const xcb_window_t root : roots_)
        xcb_ungrab_key(connection_, keyCode_, root, XCB_MOD_MASK_ANY);
    xcb_flush(connection_);
}

// An earlier combination's press may still be on its way after it was replaced.
bool X11KeyGrab::isCombination(const xcb_key_press_event_t &event) const {
    if (!hotKey_ || event.detail != keyCode_)
        return false;
    const std::uint32_t locks = XCB_MOD_MASK_LOCK | std::uint32_t{modifiers_.numLock};
    return (event.state & realModifiers & ~locks) == (stateOf(*hotKey_) & ~locks);
}

// The release goes to the window that has the focus, so it is watched for below the windows. It
// may have happened before the watch began: only then does the key's present state tell.
void X11KeyGrab::noteHeld() {
    watchReleases(true);
    const Reply<xcb_query_keymap_reply_t> keymap(
        xcb_query_keymap_reply(connection_, xcb_query_keymap(connection_), nullptr));
    constexpr unsigned bits = 8;
    held_ =
        inputOpcode_ && keymap && (keymap->keys[keyCode_ / bits] & (1U << (keyCode_ % bits))) != 0;
    if (!held_)
        watchReleases(false);
}

// Not watched all the time: each key released anywhere would wake us.
void X11KeyGrab::watchReleases(bool watch) {
    if (!inputOpcode_)
        return;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } const selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                      watch ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE} : 0U};
    xcb_input_xi_select_events(connection_, roots_.front(), 1, &selection.head);
    xcb_flush(connection_);
}

void X11KeyGrab::takeRawEvent(const xcb_ge_generic_event_t &event) {
    if (event.extension != inputOpcode_ || event.event_type != XCB_INPUT_RAW_KEY_RELEASE)
        return;
    const auto &release = reinterpret_cast<const xcb_input_raw_key_release_event_t &>(event);
    if (release.detail == keyCode_ && held_) {
        held_ = false;
        watchReleases(false);
    }
}

} // namespace corvid
