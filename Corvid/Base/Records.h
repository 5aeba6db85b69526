#pragma once

#include "Platform/DesktopEntries.h"
#include "Platform/Image.h"
#include "Platform/SessionControl.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>
#include <vector>

namespace corvid {

/** One installed application. */
struct AppEntry {
    QString name;        ///< display name
    QString bundleID;    ///< bundle identifier, desktop id without ".desktop", or AppImage's
    QString path;        ///< absolute path of the bundle, desktop entry file or AppImage
    QStringList roles;   ///< role names that the application fills
    QStringList aliases; ///< other names the user may type
    QString category;    ///< category from the application's metadata; may be empty
    /** Other words that describe it, folded, in UTF-8, a blank between two; may be empty. The more
        telling ones come first. */
    QByteArray words = {};
    QList<DesktopAction> actions = {}; ///< what else it can be started for

    bool operator==(const AppEntry &) const = default;
};

/** One developer project. */
struct ProjectEntry {
    QString name;      ///< the project name shown
    QString path;      ///< absolute folder path
    QStringList stack; ///< detected technology labels

    bool operator==(const ProjectEntry &) const = default;
};

/** The keys under which launches are counted; equal to the ids of the items' rows. */
QString usageKey(const AppEntry &app);
QString usageKeyOfApp(const QString &bundleID, const QString &path);
QString usageKey(const ProjectEntry &project);

/** The same records, in which equal lists of roles or labels, and equal categories, share their
    memory: there are few different ones. */
std::vector<AppEntry> withSharedTexts(std::vector<AppEntry> apps);
std::vector<ProjectEntry> withSharedTexts(std::vector<ProjectEntry> projects);

/** How many characters of describing words an application has at most. */
inline constexpr qsizetype mostDescribingLetters = 512;

/** JSON coding: the keys are the field names. Decoding yields nothing when one is missing or of
    another type, and cuts names and aliases as nameFrom() does. "words" and "actions" may be
    missing, and are written only where there are some; actions that cannot be read are none. */
QJsonObject toJson(const AppEntry &app);
QJsonObject toJson(const ProjectEntry &project);
template <typename Record>
std::optional<Record> fromJson(const QJsonValue &value);
template <>
std::optional<AppEntry> fromJson<AppEntry>(const QJsonValue &value);
template <>
std::optional<ProjectEntry> fromJson<ProjectEntry>(const QJsonValue &value);

struct OpenApp {
    /** Running: a window that the application already has comes to the front. */
    enum class Window { Running, New };
    AppEntry app;
    Window window = Window::Running;
    bool operator==(const OpenApp &) const = default;
};
/** Opens the project folder in the given editor, or with the default handler. */
struct OpenProject {
    ProjectEntry project;
    std::optional<AppEntry> editor;
    bool operator==(const OpenProject &) const = default;
};
/** Copies the text to the clipboard (AI answers, calculator results). */
struct CopyAI {
    QString text;
    bool operator==(const CopyAI &) const = default;
};
struct AskAI {
    QString question;
    bool operator==(const AskAI &) const = default;
};
struct OpenURL {
    QString url;
    bool operator==(const OpenURL &) const = default;
};
struct OpenLastProject {
    bool operator==(const OpenLastProject &) const = default;
};
struct OpenSettings {
    bool operator==(const OpenSettings &) const = default;
};
/** Starts an application for one of its actions. */
struct RunAction {
    QString applicationPath;
    QString action; ///< its id
    bool operator==(const RunAction &) const = default;
};
struct ControlSession {
    SessionCommand command;
    bool operator==(const ControlSession &) const = default;
};
/** Opens a file or folder with its default handler, which never runs it. */
struct OpenPath {
    QString path; ///< absolute
    bool operator==(const OpenPath &) const = default;
};

/** What Return does on a row. */
using LauncherAction = std::variant<OpenApp, OpenProject, CopyAI, AskAI, OpenURL, OpenLastProject,
                                    OpenSettings, RunAction, ControlSession, OpenPath>;

/** One row of the result list. Rows are told apart by their id. */
struct ResultItem {
    QString id;       ///< stable identity; also the usage key recorded on launch
    Image icon;       ///< null for none
    QString title;    ///< main text
    QString subtitle; ///< second line
    QString badge;    ///< short label at the right; may be empty
    LauncherAction action;
    bool running = false; ///< the application is currently running
    QString branch = {};  ///< what the project has checked out; empty for nothing to tell
    bool operator==(const ResultItem &) const = default;
};

} // namespace corvid
