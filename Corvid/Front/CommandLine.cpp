#include "Front/CommandLine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

namespace corvid {

namespace {

struct Switch {
    std::string_view name;
    bool CommandLine::*field;
};

constexpr std::array switches{
    Switch{"--bench", &CommandLine::bench},       Switch{"--forget", &CommandLine::forget},
    Switch{"--settings", &CommandLine::settings}, Switch{"--show", &CommandLine::show},
    Switch{"--sticky", &CommandLine::sticky},     Switch{"--toggle", &CommandLine::toggle},
    Switch{"--yes", &CommandLine::yes},           Switch{restartedOption, &CommandLine::restarted},
};

constexpr const char *helpText = R"(Usage: corvid [OPTION]...
A keyboard-driven launcher for software developers.

Without an option Corvid starts hidden and waits for its hot key, Alt+Space
unless you chose another. Where it runs already, it shows its panel; the options
in the first group, too, are carried out by the Corvid that runs.

  --show        show the panel
  --toggle      show the panel, or hide it when it is shown
  --settings    open the settings
  --sticky      keep the panel when it loses the keyboard

  --query TEXT  print the rows that TEXT yields to standard error; keep running
  --bench       measure the query pipeline, print one line to standard error

  --forget      forget what was learnt from use, after asking on the terminal
  --yes         with --forget: do not ask

  --help        print this
  --version     print the version
)";

/** What makes no sense together; empty where all does. */
std::string contradictionIn(const CommandLine &line) {
    if (line.yes && !line.forget)
        return "--yes goes with --forget";
    const bool more = line.show || line.toggle || line.settings || line.sticky || line.restarted ||
                      line.isDiagnostic();
    return line.forget && more ? "--forget goes with --yes alone" : "";
}

} // namespace

std::vector<Wish> CommandLine::wishes() const {
    std::vector<Wish> result;
    if (show)
        result.push_back({Wish::Kind::Show, sticky});
    else if (toggle)
        result.push_back({Wish::Kind::Toggle, sticky});
    if (settings)
        result.push_back({Wish::Kind::OpenSettings, false});
    return result;
}

std::vector<Wish> CommandLine::wishesOfRunning() const {
    std::vector<Wish> result = wishes();
    if (result.empty() && !restarted)
        result.push_back({Wish::Kind::Show, sticky});
    return result;
}

CommandLine parseCommandLine(const std::vector<std::string> &arguments) {
    CommandLine result;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        const auto *const found =
            std::find_if(switches.begin(), switches.end(), [&argument](const Switch &candidate) {
                return candidate.name == argument;
            });
        if (argument == "--query") {
            ++i;
            if (i < arguments.size() && !result.query)
                result.query = arguments[i];
        } else if (found != switches.end()) {
            result.*found->field = true;
        } else if (argument == "--help") {
            result.text = helpText;
            break;
        } else if (argument == "--version") {
            result.text = "Corvid " CORVID_VERSION "\n";
            break;
        } else {
            result.error =
                (argument.starts_with('-') ? "unknown option " : "unexpected argument ") + argument;
            break;
        }
    }
    if (std::string contradiction = contradictionIn(result);
        !contradiction.empty() && !result.text && !result.error)
        result.error = std::move(contradiction);
    return result;
}

int reportUnanswered() {
    std::fputs("corvid: Corvid runs already, but does not answer.\n", stderr);
    return 1;
}

} // namespace corvid
