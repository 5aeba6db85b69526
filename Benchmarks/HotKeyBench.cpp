// Whether the hot key and what is typed after it survive a machine that is busy with other things:
// each round presses the hot key, twelve letters and Return at once, while another window has the
// keyboard and processes of usual priority take the processors.
//
//   HotKeyBench <rounds> <busy processes> <program> [argument]...
//
// on the display of the environment, with a window manager on it. The program gets a home folder
// of its own. Prints one line of JSON:
//
//   complete   rounds whose twelve letters were in the field when Return was pressed
//   nowhere    rounds whose letters were dropped, since the panel came too late for them
//   torn       texts in the field that are only a part of the letters of a round
//   leaked     letters that the window before received
//   frozen     rounds in which the keyboard answered to nobody for longer than is promised
//   silent     rounds after which neither the panel nor the window before had the keyboard
//   shown      milliseconds, median, p95 and longest: from the press until the panel had the
//              keyboard
//   done       the same until the window before had it again

#include "Platform/Linux/X11/X11HotKeys.h"
#include "Program.h"
#include "Worlds/WindowBefore.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <csignal>
#include <sys/prctl.h>

#include <memory>
#include <optional>

using namespace corvid::bench;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto longestRound = 30s;
// Until we are told of it, for we are one more process on the busy machine.
constexpr auto slack = 500ms;

/** Processes that never rest; ended with the object. */
class Load {
public:
    explicit Load(int count) {
        for (int i = 0; i < count; ++i) {
            const pid_t id = fork();
            if (id == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL);
                for (volatile unsigned long spins = 0;; spins = spins + 1) {
                }
            }
            ids_.push_back(id);
        }
    }
    ~Load() {
        for (const pid_t id : ids_) {
            kill(id, SIGKILL);
            waitpid(id, nullptr, 0);
        }
    }
    Load(const Load &) = delete;
    Load &operator=(const Load &) = delete;

private:
    std::vector<pid_t> ids_;
};

bool within(Clock::duration patience, const auto &condition) {
    const Clock::time_point deadline = Clock::now() + patience;
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

/** The texts on which Return was pressed. */
QStringList submitted(const QString &defaults) {
    QFile file(defaults);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object()[u"queryLatches"_s].toObject().keys();
}

struct Result {
    int complete = 0, nowhere = 0, torn = 0, leaked = 0, frozen = 0, silent = 0;
    std::vector<double> shown;
    std::vector<double> done;
};

class Trial {
public:
    explicit Trial(QString defaults) : defaults_(std::move(defaults)) {
        // While a window manager starts it may leave a window alone until the next one wakes it.
        // All of them stay: it may take one for an earlier one of the same number that is gone.
        for (int attempt = 0; !window_ || !within(1s, [&] { return window_->hasKeyboard(); });
             ++attempt) {
            if (attempt == 20)
                fail("no window manager");
            window_ =
                windows_.emplace_back(std::make_unique<WindowBefore>(qgetenv("DISPLAY"))).get();
        }
    }

    /** Until the program hears of the hot key. */
    void warmUp() {
        for (int attempt = 0; !panelTakesKeyboard(1s * (1 + attempt)); ++attempt)
            if (attempt == 5)
                fail("the hot key shows nothing");
        giveBack();
    }

    void run(int round, Result &result) {
        const QString letters = twelveLetters(round);
        window_->forgetKeys();
        const Clock::time_point pressed = Clock::now();
        window_->press(hotKey + typing(letters) + stroke(returnKey));
        // Return may have hidden it again before we look.
        std::optional<Clock::time_point> shown;
        bool answered = false; // somebody heard a key
        const bool ended = within(longestRound, [&] {
            const Clock::time_point now = Clock::now();
            if (window_->panelHasKeyboard()) {
                shown = now;
                return true;
            }
            // Once keys that nobody waits for arrive, those of the round are gone.
            if (!answered && now - pressed > corvid::X11HotKeys::usualPatience) {
                window_->press(stroke(probe));
                answered = heard(probe);
                if (answered && now - pressed > corvid::X11HotKeys::usualPatience + slack)
                    ++result.frozen;
            }
            return submitted(defaults_).contains(letters);
        });
        if (shown)
            result.shown.push_back(Milliseconds(*shown - pressed).count());
        if (!ended)
            ++result.silent;
        giveBack();
        result.done.push_back(Milliseconds(Clock::now() - pressed).count());
        const bool complete = within(2s, [&] { return submitted(defaults_).contains(letters); });
        ++(complete ? result.complete : result.nowhere);
        const Keys keys = window_->keys();
        result.leaked += static_cast<int>(
            std::count_if(keys.begin(), keys.end(), [](int key) { return !isNoLetter(key); }));
        texts_.append(letters);
        // What a person typed there last, a window manager may think of at the next showing.
        window_->press(stroke(probe));
        within(longestRound, [&] { return heard(probe); });
    }

    int tornTexts() const {
        const QStringList all = submitted(defaults_);
        return static_cast<int>(std::count_if(all.begin(), all.end(), [this](const QString &text) {
            return !texts_.contains(text);
        }));
    }

private:
    static constexpr int probe = KEY_1 + codeOffset;
    static inline const Keys hotKey{altKey, kKey, -kKey, -altKey};

    bool heard(int key) {
        const Keys &keys = window_->keys();
        return std::find(keys.begin(), keys.end(), key) != keys.end();
    }

    bool panelTakesKeyboard(Clock::duration patience) {
        window_->press(hotKey);
        return within(patience, [&] { return window_->panelHasKeyboard(); });
    }

    void giveBack() {
        // A panel that came too late for the letters got no Return either, and stays.
        if (!within(longestRound, [&] {
                if (window_->panelHasKeyboard())
                    window_->press(stroke(escapeKey));
                return within(100ms, [&] { return window_->hasKeyboard(); });
            }))
            fail("the window before does not get the keyboard back");
    }

    const QString defaults_;
    std::vector<std::unique_ptr<WindowBefore>> windows_;
    WindowBefore *window_ = nullptr;
    QStringList texts_;
};

void print(const char *name, std::vector<double> samples) {
    if (samples.empty()) {
        std::printf(", \"%s\": null", name);
        return;
    }
    const auto [median, p95] = summary(samples);
    std::printf(", \"%s\": [%.0f, %.0f, %.0f]", name, median, p95,
                *std::ranges::max_element(samples));
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 4)
        fail("usage: HotKeyBench <rounds> <busy processes> <program> [argument]...");
    const int rounds = std::atoi(argv[1]);
    const QTemporaryDir home;
    const QString folder = home.filePath(u".config/Corvid"_s);
    const QString defaults = folder + "/defaults.json"_L1;
    QDir().mkpath(folder);
    QFile file(defaults);
    if (!file.open(QIODevice::WriteOnly))
        fail("no home folder");
    file.write(R"({"hotkeyKeyCode": 40, "hotkeyModifiers": 2048})"); // Alt+K
    file.close();
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_DATA_DIRS", home.path().toLocal8Bit());
    for (const char *name :
         {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"})
        qunsetenv(name);
    // The program's own; without a word, a bus would be started for it, and stay.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");

    Trial trial(defaults);
    Result result;
    {
        const Program program(argv + 3);
        trial.warmUp();
        const Load load(std::atoi(argv[2]));
        for (int round = 0; round < rounds; ++round)
            trial.run(round, result);
    }
    result.torn = trial.tornTexts();
    std::printf("{\"rounds\": %d, \"complete\": %d, \"nowhere\": %d, \"torn\": %d, \"leaked\": %d, "
                "\"frozen\": %d, \"silent\": %d",
                rounds, result.complete, result.nowhere, result.torn, result.leaked, result.frozen,
                result.silent);
    print("shown", result.shown);
    print("done", result.done);
    std::printf("}\n");
    return result.torn + result.leaked + result.frozen + result.silent > 0 ? 1 : 0;
}
