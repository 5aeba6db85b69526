// What grows with time: the panel is shown, typed into and hidden many times over.
//
//   SoakBench <rounds> <program> [argument]...
//
// on the display of the environment, with a window manager on it. The program shows and hides its
// window, titled "Corvid", on Alt+K. Prints one line of JSON: "early", after the first hundred
// rounds, and "late", after the last: PSS in MB, file descriptors, threads. A round counts only
// once the panel shows what is found for the letters.

#include "Screen.h"

#include <linux/input-event-codes.h>

using namespace corvid::bench;

namespace {

constexpr int letters[] = {KEY_C, KEY_O, KEY_D, KEY_E};
constexpr int warmUp = 100;
// Below the field: what stands there tells what was typed, and no caret blinks.
constexpr xcb_rectangle_t rows{60, 100, 200, 200};

class Soak {
public:
    explicit Soak(char *const *command) : program_(command, "--show") {
        Display::await("the window does not appear", [&] {
            const auto window = display_.named("Corvid");
            window_ = window.value_or(XCB_WINDOW_NONE);
            return window && display_.hasFocus(window_);
        });
        display_.settled(500ms);
        const std::vector<uint8_t> unasked = display_.pixels(window_, rows);
        type();
        display_.settled(longestWait);
        found_ = display_.pixels(window_, rows);
        if (found_ == unasked)
            fail("the letters change no row");
        leave();
    }

    void round() {
        display_.press(KEY_K, KEY_LEFTALT);
        Display::await("the hot key shows nothing",
                       [&] { return display_.isViewable(window_) && display_.hasFocus(window_); });
        type();
        Display::await("what is typed does not reach the panel",
                       [&] { return display_.pixels(window_, rows) == found_; });
        leave();
    }

    void printState(const char *when) const {
        std::this_thread::sleep_for(1s);
        const auto pss = program_.pss();
        if (!pss)
            fail("no memory figures");
        std::printf(R"("%s": {"pss": %.1f, "fds": %ld, "threads": %ld})", when, *pss,
                    program_.fileDescriptors(), program_.threads());
    }

private:
    void type() {
        for (const int letter : letters)
            display_.press(letter);
    }
    void leave() {
        // A panel that is back within seconds still holds what was typed.
        for (std::size_t deleted = 0; deleted < std::size(letters); ++deleted)
            display_.press(KEY_BACKSPACE);
        display_.press(KEY_K, KEY_LEFTALT);
        Display::await("the window does not hide", [&] { return !display_.isViewable(window_); });
    }

    Display display_;
    const Program program_;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    std::vector<uint8_t> found_; ///< for the letters
};

} // namespace

int main(int argc, char **argv) {
    if (argc < 3)
        fail("usage: SoakBench <rounds> <program> [argument]...");
    const int rounds = std::atoi(argv[1]);
    Soak soak(argv + 2);
    for (int i = 0; i < warmUp; ++i)
        soak.round();
    std::printf("{");
    soak.printState("early");
    for (int i = warmUp; i < rounds; ++i)
        soak.round();
    std::printf(", ");
    soak.printState("late");
    std::printf("}\n");
}
