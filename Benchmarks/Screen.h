#pragma once

#include "Content.h"
#include "Program.h"

#include <limits>
#include <memory>
#include <optional>

#include <poll.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace corvid::bench {

inline constexpr int codeOffset = 8; ///< from Linux's number of a key to the X server's

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

/** An X display: presses keys, finds windows by their title, tells when pixels change. */
class Display {
public:
    Display() : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_))
            fail("no display");
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        const auto *extension = xcb_get_extension_data(connection_, &xcb_damage_id);
        if (!extension->present)
            fail("the display has no damage extension");
        damageEvent_ = extension->first_event;
        const Reply<xcb_damage_query_version_reply_t> version(xcb_damage_query_version_reply(
            connection_, xcb_damage_query_version(connection_, 1, 1), nullptr));
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
        xcb_damage_create(connection_, xcb_generate_id(connection_), root_,
                          XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
        xcb_flush(connection_);
    }
    ~Display() { xcb_disconnect(connection_); }
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    xcb_connection_t *connection() const { return connection_; }
    xcb_window_t root() const { return root_; }
    bool isDamage(const xcb_generic_event_t &event) const {
        return (event.response_type & 0x7f) == damageEvent_ + XCB_DAMAGE_NOTIFY;
    }

    void key(xcb_keycode_t code, bool press) {
        xcb_test_fake_input(connection_, press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, code,
                            XCB_CURRENT_TIME, root_, 0, 0, 0);
    }
    /** One press and release, by Linux's numbers and sent together; the time is that of the
        sending. */
    Clock::time_point press(int number, int modifier = 0) {
        if (modifier)
            key(static_cast<xcb_keycode_t>(modifier + codeOffset), true);
        tap(static_cast<xcb_keycode_t>(number + codeOffset));
        if (modifier)
            key(static_cast<xcb_keycode_t>(modifier + codeOffset), false);
        const Clock::time_point sent = Clock::now();
        xcb_flush(connection_);
        return sent;
    }
    void tap(xcb_keycode_t code) {
        key(code, true);
        key(code, false);
        xcb_flush(connection_);
    }

    /** Waits for pixels to change and to rest again; answers when the last change was reported.
        Nothing when none comes. Pixels changed by a window that vanishes do not count. */
    std::optional<Clock::time_point> settled(Clock::duration patience) {
        std::optional<Clock::time_point> last;
        Clock::time_point deadline = Clock::now() + patience;
        for (;;) {
            while (xcb_generic_event_t *event = xcb_poll_for_event(connection_)) {
                const Reply<xcb_generic_event_t> owned(event);
                if (isDamage(*event)) {
                    last = Clock::now();
                    deadline = *last + quiet;
                }
            }
            const Milliseconds left = deadline - Clock::now();
            if (left.count() <= 0)
                return last;
            pollfd socket{xcb_get_file_descriptor(connection_), POLLIN, 0};
            poll(&socket, 1, static_cast<int>(left.count()) + 1);
        }
    }

    bool isViewable(xcb_window_t window) const {
        const Reply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection_, xcb_get_window_attributes(connection_, window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    /** Whether a window with something drawn in it is there. */
    bool showsWindow() const {
        const auto window = shown();
        if (!window)
            return false;
        const Reply<xcb_get_geometry_reply_t> place(
            xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, *window), nullptr));
        if (!place)
            return false;
        const std::vector<uint8_t> picture = pixels(*window, {0, 0, place->width, place->height});
        return hasContent(reinterpret_cast<const uint32_t *>(picture.data()), place->width,
                          place->height);
    }
    /** Whether no window is there. */
    bool isBare() const { return !shown(); }
    /** Never for a window that takes all keys from the server without asking for the focus. */
    bool hasKeyboard() const {
        const auto window = shown();
        return window && hasFocus(*window);
    }

    bool hasFocus(xcb_window_t window) const {
        const Reply<xcb_get_input_focus_reply_t> focus(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        // Toolkits give the focus to a window within theirs, too.
        xcb_window_t at = root_;
        if (focus)
            at = focus->focus;
        while (at > XCB_INPUT_FOCUS_POINTER_ROOT && at != root_) {
            if (at == window)
                return true;
            const Reply<xcb_query_tree_reply_t> tree(
                xcb_query_tree_reply(connection_, xcb_query_tree(connection_, at), nullptr));
            if (!tree)
                return false;
            at = tree->parent;
        }
        return false;
    }

    /** What stands at this place of a window. */
    std::vector<uint8_t> pixels(xcb_window_t window, const xcb_rectangle_t &place) const {
        const Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            connection_,
            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window, place.x, place.y,
                          place.width, place.height, std::numeric_limits<uint32_t>::max()),
            nullptr));
        if (!image)
            fail("no picture of the window");
        const uint8_t *data = xcb_get_image_data(image.get());
        return {data, data + xcb_get_image_data_length(image.get())};
    }

    std::optional<xcb_window_t> named(const std::string &title) const {
        return namedBelow(root_, title);
    }

    template <typename Condition>
    static void await(const char *what, const Condition &condition) {
        const Clock::time_point deadline = Clock::now() + longestWait;
        while (!condition()) {
            if (Clock::now() > deadline)
                fail(what);
            std::this_thread::sleep_for(1ms);
        }
    }

private:
    /** The uppermost window of the screen, with its frame; a window manager's own are small. */
    std::optional<xcb_window_t> shown() const {
        const Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr));
        const xcb_window_t *windows = xcb_query_tree_children(tree.get());
        for (int i = xcb_query_tree_children_length(tree.get()) - 1; i >= 0; --i)
            if (isViewable(windows[i]) && isLarge(windows[i]))
                return windows[i];
        return std::nullopt;
    }
    std::optional<xcb_window_t> namedBelow(xcb_window_t window, const std::string &title) const {
        const Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(
            connection_,
            xcb_get_property(connection_, false, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY, 0, 64),
            nullptr));
        if (name &&
            std::string(static_cast<const char *>(xcb_get_property_value(name.get())),
                        static_cast<std::size_t>(xcb_get_property_value_length(name.get()))) ==
                title &&
            isLarge(window))
            return window;
        const Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
        if (!tree)
            return std::nullopt;
        const xcb_window_t *children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
            if (const auto found = namedBelow(children[i], title))
                return found;
        return std::nullopt;
    }
    // Toolkits and window managers have small helpers.
    bool isLarge(xcb_window_t window) const {
        const Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        return geometry && geometry->width >= 400;
    }

    xcb_connection_t *connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    int damageEvent_ = 0;
};

} // namespace corvid::bench
