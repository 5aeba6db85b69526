// What a person waits for, seen from outside: key presses go in through the X server, and the time
// until the window's pixels have changed is taken from the X server's own reports of damage.
//
//   PanelBench <window title> <rounds> <soak rounds> <program> [argument]...
//
// on the display of the environment, with a window manager on it. The program shows and hides its
// window on Alt+K. Prints one line of JSON:
//
//   hotkey, key, start   milliseconds, median and p95: from the press (from exec) to the end of the
//                        last change of pixels within the window
//   pss                  MB, resident and hidden
//   wakeups, cpu         of all threads in 10 s hidden and idle; cpu in ms
//   early, late          after the first hundred soak rounds of show, type, hide, and after the
//                        last: PSS in MB, file descriptors, threads. A round counts only once the
//                        panel shows what is found for the letters

#include "Screen.h"

using namespace corvid::bench;

namespace {

constexpr xcb_keycode_t keyBackspace = 22;
constexpr xcb_keycode_t letters[] = {54, 32, 40, 26}; // c o d e
constexpr auto idleTime = 10s;
constexpr int soakWarmUp = 100;
// Below the field: what stands there tells what was typed, and no caret blinks.
constexpr xcb_rectangle_t rows{60, 100, 200, 200};

/** Presses the hot key until the window is there; the first key of a fresh display is lost. */
xcb_window_t firstShow(Display &display, const std::string &title) {
    const Clock::time_point deadline = Clock::now() + 2 * longestWait;
    while (Clock::now() < deadline) {
        display.tap(keyK, true);
        display.settled(500ms);
        if (const auto window = display.named(title); window && display.isViewable(*window))
            return *window;
    }
    fail("the window does not appear");
}

void hide(Display &display, xcb_window_t window) {
    display.tap(keyK, true);
    Display::await("the window does not hide", [&] { return !display.isViewable(window); });
    display.settled(quiet);
}

double showTime(Display &display, xcb_window_t window) {
    const Clock::time_point pressed = display.tap(keyK, true);
    const auto painted = display.settled();
    if (!painted || !display.isViewable(window))
        fail("the hot key shows nothing");
    Display::await("no keyboard focus", [&] { return display.hasFocus(window); });
    display.settled(quiet);
    return Milliseconds(*painted - pressed).count();
}

double keyTime(Display &display, xcb_keycode_t key) {
    const Clock::time_point pressed = display.tap(key);
    const auto painted = display.settled();
    if (!painted)
        fail("a key changes nothing");
    return Milliseconds(*painted - pressed).count();
}

// Until nothing changes any more: icons that arrive after the first picture count.
double startTime(Display &display, const std::string &title, char *const *command) {
    display.settled(quiet);
    const Program program(command, "--show");
    const auto painted = display.settled();
    if (!painted || !display.named(title))
        fail("the program shows nothing");
    return Milliseconds(*painted - program.started()).count();
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 5)
        fail("usage: PanelBench <window title> <rounds> <soak rounds> <program> [argument]...");
    const std::string title = argv[1];
    const int rounds = std::atoi(argv[2]);
    const int soakRounds = std::atoi(argv[3]);
    char **command = argv + 4;

    Display display;
    std::vector<double> starts;
    std::vector<double> shows;
    std::vector<double> keys;
    for (int i = 0; i < std::max(1, rounds / 5); ++i)
        starts.push_back(startTime(display, title, command));

    const Program program(command);
    const xcb_window_t window = firstShow(display, title);
    hide(display, window);
    for (int i = 0; i < rounds; ++i) {
        shows.push_back(showTime(display, window));
        for (const xcb_keycode_t letter : letters)
            keys.push_back(keyTime(display, letter));
        for (std::size_t deleted = 0; deleted < std::size(letters); ++deleted)
            keys.push_back(keyTime(display, keyBackspace));
        hide(display, window);
    }
    std::this_thread::sleep_for(1s);
    const double pss = program.pss();
    const long switches = program.contextSwitches();
    const double cpu = program.cpu();
    std::this_thread::sleep_for(idleTime);
    const long wakeups = program.contextSwitches() - switches;
    const double idleCpu = program.cpu() - cpu;

    const auto [showMedian, showP95] = summary(shows);
    const auto [keyMedian, keyP95] = summary(keys);
    const auto [startMedian, startP95] = summary(starts);
    std::printf("{\"hotkey\": [%.2f, %.2f], \"key\": [%.2f, %.2f], \"start\": [%.2f, %.2f], "
                "\"pss\": %.1f, \"wakeups\": %ld, \"cpu\": %.2f",
                showMedian, showP95, keyMedian, keyP95, startMedian, startP95, pss, wakeups,
                idleCpu);

    if (soakRounds > 0) {
        std::vector<uint8_t> found; // for the letters
        const auto round = [&] {
            display.tap(keyK, true);
            Display::await("the hot key shows nothing",
                           [&] { return display.isViewable(window) && display.hasFocus(window); });
            const bool first = found.empty();
            std::vector<uint8_t> unasked;
            if (first) {
                display.settled(quiet);
                unasked = display.pixels(window, rows);
            }
            for (const xcb_keycode_t letter : letters)
                display.tap(letter);
            if (first) {
                display.settled();
                found = display.pixels(window, rows);
                if (found == unasked)
                    fail("the letters change no row");
            }
            Display::await("what is typed does not reach the panel",
                           [&] { return display.pixels(window, rows) == found; });
            // A panel that is back within seconds still holds what was typed.
            for (std::size_t deleted = 0; deleted < std::size(letters); ++deleted)
                display.tap(keyBackspace);
            display.tap(keyK, true);
            Display::await("the window does not hide", [&] { return !display.isViewable(window); });
        };
        const auto state = [&](const char *when) {
            std::this_thread::sleep_for(1s);
            std::printf(R"(, "%s": {"pss": %.1f, "fds": %ld, "threads": %ld})", when, program.pss(),
                        program.fileDescriptors(), program.threads());
        };
        for (int i = 0; i < soakWarmUp; ++i)
            round();
        state("early");
        for (int i = soakWarmUp; i < soakRounds; ++i)
            round();
        state("late");
    }
    std::printf("}\n");
}
