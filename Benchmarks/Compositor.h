#pragma once

#include "Content.h"
#include "Program.h"
#include "virtual-keyboard-unstable-v1-client-protocol.h"
#include "wlr-screencopy-unstable-v1-client-protocol.h"

#include <cstring>

#include <linux/input-event-codes.h>
#include <poll.h>
#include <sys/mman.h>
#include <wayland-client.h>

namespace corvid::bench {

inline int memoryFile(std::size_t size) {
    const int file = memfd_create("benchmark", MFD_CLOEXEC);
    if (file < 0 || ftruncate(file, static_cast<off_t>(size)) != 0)
        fail("no memory");
    return file;
}

/** A compositor with one output: presses keys, tells when the output shows something new. */
class Compositor {
public:
    Compositor() : display_(wl_display_connect(nullptr)) {
        if (!display_)
            fail("no compositor");
        static constexpr wl_registry_listener listener{announced, removed};
        wl_registry_add_listener(wl_display_get_registry(display_), &listener, this);
        wl_display_roundtrip(display_);
        if (!shm_ || !seat_ || !output_ || !copies_ || !keyboards_)
            fail("the compositor lacks a protocol");
        plugInKeyboard();
        // The first copy is there at once, later ones when something has changed since.
        request();
        if (!settled(longestWait))
            fail("no picture");
        if (showsWindow())
            fail("something is on the output already");
        bare_ = last_;
    }
    ~Compositor() { wl_display_disconnect(display_); }
    Compositor(const Compositor &) = delete;
    Compositor &operator=(const Compositor &) = delete;

    /** One press and release, by Linux's number; the time is that of the sending. */
    Clock::time_point press(int key, bool withLogo = false) {
        if (withLogo) {
            send(KEY_LEFTMETA, true);
            zwp_virtual_keyboard_v1_modifiers(keyboard_, modifierLogo, 0, 0, 0);
        }
        send(key, true);
        send(key, false);
        if (withLogo) {
            send(KEY_LEFTMETA, false);
            zwp_virtual_keyboard_v1_modifiers(keyboard_, 0, 0, 0, 0);
        }
        const Clock::time_point sent = Clock::now();
        wl_display_flush(display_);
        return sent;
    }

    /** Waits for the output to change and to rest again; answers when the frame with the last
       change was shown. Nothing when none comes. */
    std::optional<Clock::time_point> settled(Clock::duration patience) {
        shown_.reset();
        Clock::time_point deadline = Clock::now() + patience;
        for (;;) {
            while (wl_display_prepare_read(display_) != 0)
                dispatch();
            wl_display_flush(display_);
            const Milliseconds left = deadline - Clock::now();
            pollfd socket{wl_display_get_fd(display_), POLLIN, 0};
            if (left.count() <= 0 || poll(&socket, 1, static_cast<int>(left.count()) + 1) <= 0) {
                wl_display_cancel_read(display_);
                return shown_;
            }
            wl_display_read_events(display_);
            const auto before = shown_;
            dispatch();
            if (shown_ != before)
                deadline = Clock::now() + quiet;
        }
    }

    /** Whether a window with something drawn in it is there; as of the last change. */
    bool showsWindow() const {
        return hasContent(reinterpret_cast<const std::uint32_t *>(last_.data()), width_, height_);
    }
    /** Whether all is as it was at the beginning. */
    bool isBare() const { return last_ == bare_; }
    /** A compositor does not tell; what it shows, it gives the keyboard. */
    static bool hasKeyboard() { return true; }

private:
    static constexpr std::uint32_t modifierLogo = 1U << 6U;

    static void announced(void *data, wl_registry *registry, std::uint32_t name,
                          const char *interface, std::uint32_t /*version*/) {
        auto *self = static_cast<Compositor *>(data);
        const auto bind = [&](auto *&object, const wl_interface &wanted, std::uint32_t version) {
            if (std::strcmp(interface, wanted.name) == 0)
                object = static_cast<std::remove_reference_t<decltype(object)>>(
                    wl_registry_bind(registry, name, &wanted, version));
        };
        bind(self->shm_, wl_shm_interface, 1);
        bind(self->seat_, wl_seat_interface, 1);
        bind(self->output_, wl_output_interface, 1);
        bind(self->copies_, zwlr_screencopy_manager_v1_interface, 2);
        bind(self->keyboards_, zwp_virtual_keyboard_manager_v1_interface, 1);
    }
    static void removed(void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}

    void plugInKeyboard() {
        static constexpr char keymap[] =
            "xkb_keymap { xkb_keycodes { include \"evdev\" }; xkb_types { include \"complete\" }; "
            "xkb_compat { include \"complete\" }; xkb_symbols { include \"pc+us\" }; };";
        const int file = memoryFile(sizeof keymap);
        if (write(file, keymap, sizeof keymap) != sizeof keymap)
            fail("no memory");
        keyboard_ = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards_, seat_);
        zwp_virtual_keyboard_v1_keymap(keyboard_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                       sizeof keymap);
        wl_display_roundtrip(display_);
        close(file);
    }

    void send(int key, bool press) {
        zwp_virtual_keyboard_v1_key(keyboard_, ++time_, static_cast<std::uint32_t>(key),
                                    press ? WL_KEYBOARD_KEY_STATE_PRESSED
                                          : WL_KEYBOARD_KEY_STATE_RELEASED);
    }

    void dispatch() {
        if (wl_display_dispatch_pending(display_) < 0)
            fail("the compositor is gone");
    }

    void request() {
        static constexpr zwlr_screencopy_frame_v1_listener listener{
            [](void *data, zwlr_screencopy_frame_v1 *frame, std::uint32_t format,
               std::uint32_t width, std::uint32_t height, std::uint32_t stride) {
                auto *self = static_cast<Compositor *>(data);
                self->prepareBuffer(format, width, height, stride);
                zwlr_screencopy_frame_v1_copy_with_damage(frame, self->buffer_);
            },
            [](void * /*data*/, zwlr_screencopy_frame_v1 * /*frame*/, std::uint32_t /*flags*/) {},
            [](void *data, zwlr_screencopy_frame_v1 *frame, std::uint32_t high, std::uint32_t low,
               std::uint32_t nanoseconds) {
                auto *self = static_cast<Compositor *>(data);
                const std::chrono::seconds seconds(std::uint64_t{high} << 32U | low);
                if (self->isNew())
                    self->shown_ =
                        Clock::time_point(seconds + std::chrono::nanoseconds(nanoseconds));
                zwlr_screencopy_frame_v1_destroy(frame);
                self->request();
            },
            [](void * /*data*/, zwlr_screencopy_frame_v1 * /*frame*/) { fail("no picture"); },
            [](void * /*data*/, zwlr_screencopy_frame_v1 * /*frame*/, std::uint32_t /*x*/,
               std::uint32_t /*y*/, std::uint32_t /*width*/, std::uint32_t /*height*/) {},
        };
        zwlr_screencopy_frame_v1_add_listener(
            zwlr_screencopy_manager_v1_capture_output(copies_, 0, output_), &listener, this);
    }

    void prepareBuffer(std::uint32_t format, std::uint32_t width, std::uint32_t height,
                       std::uint32_t stride) {
        if (buffer_)
            return;
        const std::size_t size = std::size_t{stride} * height;
        const int file = memoryFile(size);
        void *memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
        if (memory == MAP_FAILED)
            fail("no memory");
        wl_shm_pool *pool = wl_shm_create_pool(shm_, file, static_cast<std::int32_t>(size));
        buffer_ = wl_shm_pool_create_buffer(pool, 0, static_cast<std::int32_t>(width),
                                            static_cast<std::int32_t>(height),
                                            static_cast<std::int32_t>(stride), format);
        wl_shm_pool_destroy(pool);
        close(file);
        picture_ = static_cast<const char *>(memory);
        last_.assign(size, 1); // unlike any picture, which has no such alpha
        width_ = stride / sizeof(std::uint32_t);
        height_ = height;
    }

    /** Whether the copy differs from the one before: a compositor also shows a frame anew when a
        surface comes that nothing is to be seen of. */
    bool isNew() {
        if (std::memcmp(last_.data(), picture_, last_.size()) == 0)
            return false;
        std::memcpy(last_.data(), picture_, last_.size());
        return true;
    }

    wl_display *display_;
    wl_shm *shm_ = nullptr;
    wl_seat *seat_ = nullptr;
    wl_output *output_ = nullptr;
    zwlr_screencopy_manager_v1 *copies_ = nullptr;
    zwp_virtual_keyboard_manager_v1 *keyboards_ = nullptr;
    zwp_virtual_keyboard_v1 *keyboard_ = nullptr;
    wl_buffer *buffer_ = nullptr;
    const char *picture_ = nullptr; ///< the newest copy
    std::vector<char> last_;        ///< the newest that differs from the one before
    std::vector<char> bare_;
    std::size_t width_ = 0;
    std::size_t height_ = 0;
    std::uint32_t time_ = 0;
    std::optional<Clock::time_point> shown_;
};

} // namespace corvid::bench
