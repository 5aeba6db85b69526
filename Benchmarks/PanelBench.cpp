// What a person waits for, seen from outside and in one turn of one program: keys go in through the
// X server or a Wayland compositor's virtual keyboard, and the time until the window's pixels have
// changed is taken from the X server's reports of damage or the compositor's copies of its frames.
// It knows nothing of the program, so it does for any launcher.
//
//   PanelBench x11|wayland [option]... -- <program> [argument]...
//
//   --hidden          the program shows nothing when it starts
//   --hotkey A+B      on X11: it shows itself at this key, by Linux's numbers: modifier, key
//   --toggle COMMAND  shows it; "%p" stands for its process. On Wayland (sway) a key is bound to it
//   --rounds N        so many showings by each of these, after one that does not count
//   --typed           types into it in each round
//   --counted         counts what it says to the X server, through a relay: no times, then
//   --memory          at the end, hidden for a second, looks at its memory
//   --idle            at the end, hidden and left alone, looks for ten seconds at its wakeups
//
// on the display or the compositor of the environment, where nothing else is shown. Prints one line
// of JSON: for "start" (exec to painted), "hotkey", "toggle" and "key" a list of
// [milliseconds, the program's processor time of them in milliseconds], or with --counted of
// [requests, round trips]; for "memory" [PSS, private and dirty] in MB, empty without the rights;
// for "idle" [wakeups of all threads, milliseconds of processor time].

#include "Compositor.h"
#include "Relay.h"
#include "Screen.h"

#include <functional>
#include <future>
#include <map>

using namespace corvid::bench;

namespace {

constexpr int letters[] = {KEY_C, KEY_O, KEY_D, KEY_E};
constexpr auto idleTime = 10s;
// Threads that wait for more work have ended by then.
constexpr auto untilIdle = 35s;

struct Options {
    bool onWayland = false;
    bool hidden = false;
    bool typed = false;
    bool counted = false;
    bool memory = false;
    bool idle = false;
    int rounds = 0;
    int modifier = 0;
    int key = 0; ///< none: no hot key
    std::string toggle;
    char **command = nullptr;
};

Options parsed(char **argument) {
    const std::map<std::string, bool Options::*> flags{{"--hidden", &Options::hidden},
                                                       {"--typed", &Options::typed},
                                                       {"--counted", &Options::counted},
                                                       {"--memory", &Options::memory},
                                                       {"--idle", &Options::idle}};
    Options options;
    options.onWayland = *argument && std::strcmp(*argument, "wayland") == 0;
    for (++argument; *argument; ++argument) {
        const std::string name = *argument;
        if (name == "--") {
            options.command = argument + 1;
            return options;
        }
        if (const auto flag = flags.find(name); flag != flags.end()) {
            options.*(flag->second) = true;
            continue;
        }
        const char *value = *++argument;
        if (!value)
            break;
        if (name == "--rounds")
            options.rounds = std::atoi(value);
        else if (name == "--toggle")
            options.toggle = value;
        else if (name != "--hotkey" ||
                 std::sscanf(value, "%d+%d", &options.modifier, &options.key) != 2)
            break;
    }
    fail("usage: see Benchmarks/PanelBench.cpp");
}

void run(const std::string &command) {
    if (std::system(command.c_str()) != 0)
        fail(command.c_str());
}

/** Of what is counted or timed: see the head of this file. */
using Sample = std::pair<double, double>;
/** Has the program show itself; answers when that was asked for. */
using Summon = std::function<Clock::time_point()>;

/** Screen: a Display or a Compositor. */
template <typename Screen>
class Turn {
public:
    Turn(Screen &screen, const Options &options, const Relay *relay)
        : screen_(screen), options_(options), relay_(relay) {}

    void play() {
        screen_.press(KEY_LEFTSHIFT); // the first key of a fresh display is lost
        screen_.settled(quiet);
        const Sample before = spent();
        program_.emplace(options_.command);
        if (!options_.hidden)
            note("start", program_->started(), shown(), before);
        const std::vector<std::pair<std::string, Summon>> summons = waysToSummon();
        if (options_.typed && summons.empty())
            type();
        hide();
        for (const auto &[name, summon] : summons)
            warmUp(summon);
        for (int round = 0; round < options_.rounds; ++round)
            for (const auto &[name, summon] : summons) {
                const Sample spentBefore = spent();
                const Clock::time_point asked = summon();
                const Clock::time_point painted = shown();
                command_ = {}; // has ended, too
                note(name, asked, painted, spentBefore);
                if (options_.typed && name == summons.front().first)
                    type();
                hide();
            }
        if (options_.idle)
            noteIdle();
        if (options_.memory)
            noteMemory();
    }

    void print() {
        std::printf("{");
        const char *separator = "";
        for (const auto &[name, samples] : samples_) {
            std::printf("%s\"%s\": [", std::exchange(separator, ", "), name.c_str());
            for (std::size_t i = 0; i < samples.size(); ++i)
                std::printf("%s[%.3f, %.3f]", i ? ", " : "", samples[i].first, samples[i].second);
            std::printf("]");
        }
        std::printf("}\n");
    }

private:
    std::vector<std::pair<std::string, Summon>> waysToSummon() {
        std::vector<std::pair<std::string, Summon>> ways;
        std::string toggle = options_.toggle;
        if (const std::size_t mark = toggle.find("%p"); mark != std::string::npos)
            toggle.replace(mark, 2, std::to_string(program_->id()));
        if constexpr (std::is_same_v<Screen, Compositor>) {
            if (!toggle.empty()) {
                run("swaymsg -q -- bindsym Mod4+space exec '" + toggle + "'");
                ways.emplace_back("hotkey", [this] { return screen_.press(KEY_SPACE, true); });
            }
        } else if (options_.key) {
            ways.emplace_back("hotkey",
                              [this] { return screen_.press(options_.key, options_.modifier); });
        }
        if (!toggle.empty())
            ways.emplace_back("toggle", [this, toggle] {
                const Clock::time_point asked = Clock::now();
                // It may still run when the window is there already.
                command_ = std::async(std::launch::async, run, toggle);
                return asked;
            });
        return ways;
    }

    /** A showing that does not count; of what starts hidden nobody knows when it begins to hear. */
    void warmUp(const Summon &summon) {
        for (int attempt = 0; attempt < 5; ++attempt) {
            summon();
            const auto painted = shownWithin(longestWait);
            command_ = {};
            if (painted)
                return hide();
        }
        fail("no window appears");
    }

    Clock::time_point shown() {
        const auto painted = shownWithin(4 * longestWait);
        if (!painted)
            fail("no window appears");
        return *painted;
    }
    /** Waits until a window is there and at rest; answers when it last changed. What is left of a
        window before, or a caret, changes pixels, too, and is not taken for it. */
    std::optional<Clock::time_point> shownWithin(Clock::duration patience) {
        const Clock::time_point deadline = Clock::now() + patience;
        std::optional<Clock::time_point> last;
        while (Clock::now() < deadline) {
            if (const auto changed = screen_.settled(quiet))
                last = changed;
            if (last && screen_.showsWindow())
                return last;
        }
        return std::nullopt;
    }

    void hide() {
        const Clock::time_point deadline = Clock::now() + 4 * longestWait;
        while (!screen_.isBare()) {
            if (Clock::now() > deadline)
                fail("the window does not hide");
            screen_.press(KEY_ESC);
            screen_.settled(500ms);
        }
        screen_.settled(quiet);
    }

    void type() {
        const Clock::time_point deadline = Clock::now() + 500ms;
        while (!screen_.hasKeyboard() && Clock::now() < deadline)
            std::this_thread::sleep_for(1ms);
        screen_.settled(quiet);
        const auto key = [this](int number) {
            const Sample before = spent();
            const Clock::time_point pressed = screen_.press(number);
            const auto painted = screen_.settled(longestWait);
            if (!painted)
                fail("a key changes nothing");
            note("key", pressed, *painted, before);
        };
        for (const int letter : letters)
            key(letter);
        for (std::size_t deleted = 0; deleted < std::size(letters); ++deleted)
            key(KEY_BACKSPACE);
    }

    /** So far: of the processor's time, or of what was said to the server. */
    Sample spent() const {
        if (relay_)
            return {relay_->requests(), relay_->roundTrips()};
        return {0, program_ ? program_->cpu() : 0};
    }
    void note(const std::string &name, Clock::time_point asked, Clock::time_point painted,
              const Sample &before) {
        const auto [first, second] = spent();
        const double milliseconds = Milliseconds(painted - asked).count();
        samples_[name].emplace_back(relay_ ? first - before.first : milliseconds,
                                    second - before.second);
    }

    void noteMemory() {
        std::this_thread::sleep_for(1s);
        auto &samples = samples_["memory"];
        const auto pss = program_->pss();
        const auto dirty = program_->privateDirty();
        if (pss && dirty)
            samples.emplace_back(*pss, *dirty);
    }
    void noteIdle() {
        std::this_thread::sleep_for(untilIdle);
        const long switches = program_->contextSwitches();
        const double cpu = program_->cpu();
        std::this_thread::sleep_for(idleTime);
        samples_["idle"].emplace_back(program_->contextSwitches() - switches,
                                      program_->cpu() - cpu);
    }

    Screen &screen_;
    const Options &options_;
    const Relay *relay_;
    std::optional<Program> program_;
    std::future<void> command_; ///< that shows it
    std::map<std::string, std::vector<Sample>> samples_;
};

template <typename Screen>
void play(Screen &screen, const Options &options, const Relay *relay) {
    Turn turn(screen, options, relay);
    turn.play();
    turn.print();
}

} // namespace

int main(int /*argc*/, char **argv) {
    const Options options = parsed(argv + 1);
    if (options.onWayland) {
        Compositor compositor;
        play(compositor, options, nullptr);
    } else {
        Display display;
        std::optional<Relay> relay;
        if (options.counted)
            relay.emplace(xcb_get_file_descriptor(display.connection()));
        play(display, options, relay ? &*relay : nullptr);
    }
}
