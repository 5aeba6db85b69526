// The same waits as in PanelBench on a Wayland compositor: keys go in through a virtual keyboard,
// and the time until pixels have changed is that of the compositor's own frames.
//
//   WaylandBench <toggle command> <rounds> <program> [argument]...
//
// on sway, whose output shows nothing else. The toggle command shows and hides the program's
// window; "%p" stands for the program's process. The compositor runs it at a key's press. Prints
// one line of JSON:
//
//   bound        milliseconds, median and p95: from the press of the key to which the toggle
//   command
//                is bound, to the frame that shows the last change
//   toggle       the same from the start of the command, without the compositor's shell
//   key, start   the same for a letter in the field, and from exec to the list
//   wakeups, cpu  as in PanelBench

#include "Program.h"
#include "virtual-keyboard-unstable-v1-client-protocol.h"
#include "wlr-screencopy-unstable-v1-client-protocol.h"

#include <cstring>
#include <memory>
#include <optional>

#include <poll.h>
#include <sys/mman.h>
#include <wayland-client.h>

using namespace corvid::bench;

namespace {

// Linux's numbers.
constexpr std::uint32_t keyLogo = 125;
constexpr std::uint32_t keySpace = 57;
constexpr std::uint32_t keyBackspace = 14;
constexpr std::uint32_t letters[] = {46, 24, 32, 18}; // c o d e
constexpr std::uint32_t modifierLogo = 1U << 6U;
constexpr auto idleTime = 10s;

int memoryFile(std::size_t size) {
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
        if (!settled())
            fail("no picture");
        bare_ = middle();
    }
    ~Compositor() { wl_display_disconnect(display_); }
    Compositor(const Compositor &) = delete;
    Compositor &operator=(const Compositor &) = delete;

    /** One press and release, sent together; the time is that of the sending. */
    Clock::time_point tap(std::uint32_t key, bool withLogo = false) {
        if (withLogo) {
            send(keyLogo, true);
            zwp_virtual_keyboard_v1_modifiers(keyboard_, modifierLogo, 0, 0, 0);
        }
        send(key, true);
        send(key, false);
        if (withLogo) {
            send(keyLogo, false);
            zwp_virtual_keyboard_v1_modifiers(keyboard_, 0, 0, 0, 0);
        }
        const Clock::time_point sent = Clock::now();
        wl_display_flush(display_);
        return sent;
    }

    /** Waits for the output to change and to rest again; answers when the frame with the last
       change was shown. Nothing when none comes. */
    std::optional<Clock::time_point> settled(Clock::duration patience = longestWait) {
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

    /** Whether something is shown in the middle; as of the last change. */
    bool isCovered() const { return middle() != bare_; }

private:
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

    void send(std::uint32_t key, bool press) {
        zwp_virtual_keyboard_v1_key(keyboard_, ++time_, key,
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
        const std::size_t pixel = sizeof(std::uint32_t);
        picture_ = static_cast<const char *>(memory);
        last_.assign(size, 1); // unlike any picture, which has no such alpha
        middle_ = picture_ + std::size_t{stride} * (height / 2) + pixel * (width / 2);
    }

    /** Whether the copy differs from the one before: a compositor also shows a frame anew when a
        surface comes that nothing is to be seen of. */
    bool isNew() {
        if (std::memcmp(last_.data(), picture_, last_.size()) == 0)
            return false;
        std::memcpy(last_.data(), picture_, last_.size());
        return true;
    }

    std::uint32_t middle() const {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, middle_, sizeof pixel);
        return pixel;
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
    std::vector<char> last_;        ///< the copy before
    const char *middle_ = nullptr;  ///< the pixel of the newest copy
    std::uint32_t bare_ = 0;
    std::uint32_t time_ = 0;
    std::optional<Clock::time_point> shown_;
};

std::string commandFor(std::string command, const Program &program) {
    if (const std::size_t mark = command.find("%p"); mark != std::string::npos)
        command.replace(mark, 2, std::to_string(program.id()));
    return command;
}

void run(const std::string &command) {
    if (std::system(command.c_str()) != 0)
        fail(command.c_str());
}

void hide(Compositor &compositor) {
    compositor.tap(keySpace, true);
    compositor.settled();
    if (compositor.isCovered())
        fail("the window does not hide");
}

double showTime(Compositor &compositor, Clock::time_point asked) {
    const auto painted = compositor.settled();
    if (!painted || !compositor.isCovered())
        fail("the toggle command shows nothing");
    return Milliseconds(*painted - asked).count();
}

double keyTime(Compositor &compositor, std::uint32_t key) {
    const Clock::time_point pressed = compositor.tap(key);
    const auto painted = compositor.settled();
    if (!painted)
        fail("a key changes nothing");
    return Milliseconds(*painted - pressed).count();
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 4)
        fail("usage: WaylandBench <toggle command> <rounds> <program> [argument]...");
    const int rounds = std::atoi(argv[2]);
    char **command = argv + 3;

    Compositor compositor;
    std::vector<double> starts;
    const auto start = [&] {
        auto program = std::make_unique<Program>(command, "--show");
        starts.push_back(showTime(compositor, program->started()));
        return program;
    };
    std::vector<double> bound;
    std::vector<double> toggles;
    std::vector<double> keys;
    for (int i = 1; i < rounds / 5; ++i) {
        start().reset();
        compositor.settled(); // its window vanishes
    }
    const std::unique_ptr<Program> program = start();
    const std::string toggle = commandFor(argv[1], *program);
    run("swaymsg -q -- bindsym Mod4+space exec '" + toggle + "'");
    hide(compositor);
    for (int i = 0; i < rounds; ++i) {
        bound.push_back(showTime(compositor, compositor.tap(keySpace, true)));
        for (const std::uint32_t letter : letters)
            keys.push_back(keyTime(compositor, letter));
        for (std::size_t deleted = 0; deleted < std::size(letters); ++deleted)
            keys.push_back(keyTime(compositor, keyBackspace));
        hide(compositor);

        const Clock::time_point asked = Clock::now();
        run(toggle);
        toggles.push_back(showTime(compositor, asked));
        hide(compositor);
    }
    std::this_thread::sleep_for(1s);
    const long switches = program->contextSwitches();
    const double cpu = program->cpu();
    std::this_thread::sleep_for(idleTime);
    const long wakeups = program->contextSwitches() - switches;
    const double idleCpu = program->cpu() - cpu;

    const auto [boundMedian, boundP95] = summary(bound);
    const auto [toggleMedian, toggleP95] = summary(toggles);
    const auto [keyMedian, keyP95] = summary(keys);
    const auto [startMedian, startP95] = summary(starts);
    std::printf("{\"bound\": [%.2f, %.2f], \"toggle\": [%.2f, %.2f], \"key\": [%.2f, %.2f], "
                "\"start\": [%.2f, %.2f], \"wakeups\": %ld, \"cpu\": %.2f}\n",
                boundMedian, boundP95, toggleMedian, toggleP95, keyMedian, keyP95, startMedian,
                startP95, wakeups, idleCpu);
}
