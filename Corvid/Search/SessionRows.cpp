#include "Search/SessionRows.h"

#include "Base/Text.h"
#include "Platform/SessionControl.h"

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

struct CommandRow {
    SessionCommand command;
    const char *id;
    const char *title;
    const char *subtitle;
    const char *question;                   ///< null for what can be undone
    std::array<QLatin1StringView, 4> names; ///< folded, with blanks between words; some are empty
};

constexpr std::array commandRows{
    CommandRow{SessionCommand::Lock,
               "session-lock",
               "Lock",
               "Locks the screen",
               nullptr,
               {"lock"_L1, "lock screen"_L1}},
    CommandRow{SessionCommand::Suspend,
               "session-suspend",
               "Suspend",
               "Puts the computer to sleep",
               nullptr,
               {"suspend"_L1, "sleep"_L1}},
    CommandRow{SessionCommand::Hibernate,
               "session-hibernate",
               "Hibernate",
               "Stores what is open on the disk and switches the computer off",
               nullptr,
               {"hibernate"_L1}},
    CommandRow{SessionCommand::LogOut,
               "session-log-out",
               "Log Out",
               "Ends the session and everything that is open in it",
               "Log out? Press Return again",
               {"log out"_L1, "logout"_L1, "sign out"_L1}},
    CommandRow{SessionCommand::Restart,
               "session-restart",
               "Restart",
               "Ends the session and starts the computer anew",
               "Restart? Press Return again",
               {"restart"_L1, "reboot"_L1}},
    CommandRow{SessionCommand::ShutDown,
               "session-shut-down",
               "Shut Down",
               "Ends the session and switches the computer off",
               "Shut down? Press Return again",
               {"shut down"_L1, "shutdown"_L1, "power off"_L1, "poweroff"_L1}}};

QString normalized(const QString &text) {
    return folded(text).replace(u'-', u' ').simplified();
}

} // namespace

Rows sessionRows(const Query &query, const RowSources &from) {
    constexpr qsizetype shortest = 3; // shorter than every name
    Rows rows;
    const QString text = normalized(query.text);
    if (text.size() < shortest)
        return rows;
    for (const CommandRow &row : commandRows) {
        const auto isNamed = [&text](QLatin1StringView name) { return name.startsWith(text); };
        if (std::ranges::any_of(row.names, isNamed) && from.session.can(row.command))
            rows.push_back({QString::fromLatin1(row.id), nullptr, QString::fromLatin1(row.title),
                            QString::fromLatin1(row.subtitle), u"Session"_s,
                            ControlSession{row.command}});
    }
    return rows;
}

std::optional<QString> questionBefore(const LauncherAction &action) {
    const auto *control = std::get_if<ControlSession>(&action);
    if (!control)
        return std::nullopt;
    const auto row = std::ranges::find(commandRows, control->command, &CommandRow::command);
    return row->question ? std::optional(QString::fromLatin1(row->question)) : std::nullopt;
}

void placeQuestion(Rows &rows, int selected, std::optional<ResultItem> &asked) {
    if (!asked)
        return;
    const auto index = static_cast<std::size_t>(selected);
    if (index >= rows.size() || rows[index].id != asked->id)
        asked.reset();
    else
        rows[index].title = questionBefore(asked->action).value_or(asked->title);
}

} // namespace corvid
