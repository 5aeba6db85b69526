#pragma once

#include "Base/Records.h"
#include "Search/PathLookup.h"
#include "Search/Query.h"
#include "Search/SearchIndex.h"

#include <QSet>

#include <functional>
#include <optional>
#include <vector>

namespace corvid {

class UserDefaults;

using Rows = std::vector<ResultItem>;

/** The most rows that a search lists. */
inline constexpr std::size_t mostSearchRows = 9;

/** What rows are made from. Refers to all of it, so it is for one use. */
struct RowSources {
    const std::vector<AppEntry> &apps;
    const SearchIndex &appIndex; ///< of `apps`, with the present launches
    const std::vector<ProjectEntry> &projects;
    const SearchIndex &projectIndex; ///< likewise
    const RoleCatalog &roles;
    const UsageStats &stats;
    const QSet<QString> &running; ///< bundle identifiers
    const UserDefaults &defaults;
    std::function<Image(const QString &path)> icon;
    const SessionControl &session;
    /** What is at an absolute path; absent also as long as nobody knows. */
    std::function<std::optional<PathKind>(const QString &path)> kindOfPath;
    std::optional<AppEntry> terminal = {}; ///< the user's; absent where it is not known

    /** Indexes into `apps`. */
    const std::vector<std::size_t> &codeEditors() const;
};

/** Whether this, in the place of an editor, means the user's terminal where no application answers
    to it, or is the beginning of such a word. */
enum class TerminalWord { None, Begun, Whole };
TerminalWord terminalWord(const QString &editor);

/** The list that a query yields, which is none for a question: see questionRows(). */
Rows rowsFor(const Query &query, const RowSources &from);

/** The rows of a question; without a key, one more that leads to the settings. */
Rows questionRows(const QString &question, bool hasKey);

/** The row of the application at `index` of `from.apps`. */
ResultItem appRow(std::size_t index, const RowSources &from);

/** The row of a project. */
ResultItem projectRow(const ProjectEntry &project, const QString &badge,
                      const std::optional<AppEntry> &editor, const RowSources &from);

/** The row of the project at `index` of `from.projects`, badged with its stack. */
ResultItem foundProjectRow(std::size_t index, const RowSources &from);

/** A path as people write it: "~" for the home folder. */
QString withHomeAsTilde(const QString &path);

/** The path behind a row, for revealing and copying it; absent where there is none. */
std::optional<QString> pathOf(const LauncherAction &action);

/** The path whose icon a row shows, if any: every project has that of the home folder,
    deliberately. */
std::optional<QString> iconPathOf(const LauncherAction &action);

} // namespace corvid
