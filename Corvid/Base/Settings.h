#pragma once

#include "Platform/HotKeyBackend.h"
#include "Platform/UserDefaults.h"

#include <QHash>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

/** What is stored of the user's choices and of their use of the program: the only unit that knows
    its keys, defaults and form. Each call reads afresh. A value of another form reads as absent.
    Main thread only. */
namespace corvid::settings {

/** The hot key to register. A number that is absent, 0 or no integer is that of Alt+Space; one that
    is no 32-bit number is fatal. */
HotKey hotKey(const UserDefaults &defaults);
/** The hot key as stored: absent without a key code, while absent modifiers are none. Fatal as
    hotKey() is. */
std::optional<HotKey> storedHotKey(const UserDefaults &defaults);
void setHotKey(UserDefaults &defaults, const HotKey &hotKey);

/** The folders to look for projects in, exactly as stored; empty when there are none. */
QStringList projectRoots(const UserDefaults &defaults);
void setProjectRoots(UserDefaults &defaults, const QStringList &roots);

/** True when absent; else whether it is true or a number other than 0. */
bool aiEnabled(const UserDefaults &defaults);
void setAiEnabled(UserDefaults &defaults, bool enabled);

/** As entered; the OpenAI API's address when absent. */
QString aiBaseURL(const UserDefaults &defaults);
void setAiBaseURL(UserDefaults &defaults, const QString &address);

/** As entered; "gpt-4o-mini" when absent. */
QString aiModel(const UserDefaults &defaults);
void setAiModel(UserDefaults &defaults, const QString &model);

/** The account of the AI endpoint's key in the SecretStore. */
inline constexpr QLatin1StringView aiKeyAccount("ai-api-key");

/** The project that was last opened in an editor. */
struct LastProject {
    QString project; ///< path of its folder
    QString editor;  ///< path of the application
};
std::optional<LastProject> lastProject(const UserDefaults &defaults);
void setLastProject(UserDefaults &defaults, const LastProject &last);

/** Launches by usage key. */
using LaunchCounts = QHash<QString, qint64>;
LaunchCounts launchCounts(const UserDefaults &defaults);
/** Runs `change` as UserDefaults::update() says. */
void updateLaunchCounts(UserDefaults &defaults, const std::function<void(LaunchCounts &)> &change);

/** The usage key that was chosen for a query, by query. */
using QueryLatches = QHash<QString, QString>;
QueryLatches queryLatches(const UserDefaults &defaults);
/** Runs `change` as UserDefaults::update() says. */
void updateQueryLatches(UserDefaults &defaults, const std::function<void(QueryLatches &)> &change);

} // namespace corvid::settings
