#pragma once

#include "Platform/HotKeyBackend.h"
#include "Platform/UserDefaults.h"

#include <QHash>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

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

/** What the model is told about how to answer; the program's own instruction when absent or
    empty. */
QString aiInstruction(const UserDefaults &defaults);

/** Whether lines that begin with "ai " go to the endpoint while they are typed, with the names of
    all applications and projects. True when absent; else read as aiEnabled() is. */
bool aiSendsNames(const UserDefaults &defaults);
void setAiSendsNames(UserDefaults &defaults, bool send);

/** Whether it was said that names are sent. False when absent. */
bool aiNamesNoted(const UserDefaults &defaults);
void setAiNamesNoted(UserDefaults &defaults);

/** The account of the AI endpoint's key in the SecretStore. */
inline constexpr QLatin1StringView aiKeyAccount("ai-api-key");

/** The project that was last opened in an editor. */
struct LastProject {
    QString project; ///< path of its folder
    QString editor;  ///< path of the application
};
std::optional<LastProject> lastProject(const UserDefaults &defaults);
void setLastProject(UserDefaults &defaults, const LastProject &last);

/** What stands in the address of a search where the text goes. */
inline constexpr QLatin1StringView searchTextMark("%s");

/** Whether this is an http or https address that can be searched by: one with the mark, behind
    its host. */
bool isSearchAddress(const QString &address);

/** Where the web search leads. */
struct WebSearch {
    QString name;    ///< as rows show it; of one that is stored without a name, the host
    QString address; ///< of a search
    bool operator==(const WebSearch &) const = default;
};
/** Google when there is no address, or one that cannot be searched by, whatever the name. */
WebSearch webSearch(const UserDefaults &defaults);
/** Google's, or an address that cannot be searched by, takes back what is stored. */
void setWebSearch(UserDefaults &defaults, const WebSearch &search);

/** A site that is searched by typing its word first. */
struct SearchWord {
    QString word;    ///< without blanks, in lower case
    QString name;    ///< as rows show it; when absent or empty, the word
    QString address; ///< of a search
    bool operator==(const SearchWord &) const = default;
};
/** Whether words can be searched by it: whether it has no blank and is not empty. */
bool isSearchWord(const QString &word);
/** By their words, each once. A list of well-known sites when absent; of a stored one, those
    entries that can be searched by. */
std::vector<SearchWord> searchWords(const UserDefaults &defaults);
/** Of two with the same word the last one counts. Stored entries that cannot be searched by stay
    unless their word is taken. */
void setSearchWords(UserDefaults &defaults, const std::vector<SearchWord> &words);
/** Takes back what is stored, and with it what searchWords() left out. */
void restoreSearchWords(UserDefaults &defaults);

/** Whether there is nothing of a user's here: no choice and no use of the program. */
bool nothingStored(const UserDefaults &defaults);

/** Which of the notices that are given once have been given, by names of the program's own. Empty
    when absent. */
QStringList noticesGiven(const UserDefaults &defaults);
void addNoticeGiven(UserDefaults &defaults, const QString &name);

/** Whether anything was ever launched, forgotten or not. */
bool launchedBefore(const UserDefaults &defaults);

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
