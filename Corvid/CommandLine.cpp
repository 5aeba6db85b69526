#include "CommandLine.h"

#include <QHash>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

const QHash<QString, bool CommandLine::*> &switches() {
    static const QHash<QString, bool CommandLine::*> table{
        {u"--bench"_s, &CommandLine::bench},   {u"--settings"_s, &CommandLine::settings},
        {u"--show"_s, &CommandLine::show},     {u"--sticky"_s, &CommandLine::sticky},
        {u"--toggle"_s, &CommandLine::toggle},
    };
    return table;
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
    if (result.empty())
        result.push_back({Wish::Kind::Show, sticky});
    return result;
}

CommandLine parseCommandLine(const QStringList &arguments) {
    CommandLine result;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == "--query"_L1) {
            ++i;
            if (i < arguments.size() && !result.query)
                result.query = arguments[i];
        } else if (const auto found = switches().constFind(argument);
                   found != switches().constEnd()) {
            result.**found = true;
        } else if (argument == "--help"_L1) {
            result.text = CommandLine::Text::Help;
            break;
        } else if (argument == "--version"_L1) {
            result.text = CommandLine::Text::Version;
            break;
        } else {
            result.error =
                (argument.startsWith(u'-') ? u"unknown option %1"_s : u"unexpected argument %1"_s)
                    .arg(argument);
            break;
        }
    }
    return result;
}

QString helpText() {
    return uR"(Usage: corvid [OPTION]...
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

  --help        print this
  --version     print the version
)"_s;
}

QString versionText() {
    return u"Corvid " CORVID_VERSION "\n"_s;
}

} // namespace corvid
