#include "Search/QueryRows.h"

#include "Base/Locations.h"
#include "Base/Settings.h"
#include "Base/Text.h"
#include "RoleCatalog.h"
#include "Search/FurtherRows.h"
#include "Search/SearchWordRows.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::size_t mostRecentApplications = 7;
constexpr std::size_t mostProjectsInEditor = 8;
constexpr qint64 latchBonus = 500;
constexpr qint64 roleScore = 200;
constexpr qint64 projectHandicap = 50; // an equally matched application stands first

const QString appBadge = u"App"_s;

ResultItem askRow(const QString &id, const QString &question, LauncherAction action) {
    return {id,
            nullptr,
            u"Ask AI: "_s + question,
            u"Streams an answer from your endpoint"_s,
            u"AI"_s,
            std::move(action)};
}

Rows fallbackRows(const QString &text, const RowSources &from) {
    const settings::WebSearch engine = settings::webSearch(from.defaults);
    return {{u"web-search"_s, nullptr,
             u"Search "_s + displayLine(engine.name) + u" for “"_s + text + u"”"_s,
             u"Opens in your default browser"_s, u"Web"_s,
             OpenURL{addressOfSearch(engine.address, text)}},
            askRow(u"ai-fallback"_s, text, AskAI{text})};
}

struct Match {
    enum class Kind { App, AppOfRole, Project };
    qint64 score;
    Kind kind;
    std::size_t index;
};

/** Keeps the first `most` by descending score, kind and index. */
class Best {
public:
    explicit Best(std::size_t most) : most_(most) {}

    void offer(const Match &match) {
        if (!keeps(match))
            return;
        if (matches_.size() == most_)
            matches_.pop_back();
        matches_.insert(std::ranges::upper_bound(matches_, rank(match), {}, rank), match);
        if (matches_.size() == most_)
            atLeast_ = matches_.back().score + 1;
    }
    bool keeps(const Match &match) const {
        return matches_.size() < most_ || rank(match) < rank(matches_.back());
    }
    /** The lowest score with which another match of the same kind is kept that stands behind those
        here in its list. */
    qint64 atLeast() const { return atLeast_; }
    const std::vector<Match> &matches() const { return matches_; }

private:
    static std::tuple<qint64, Match::Kind, std::size_t> rank(const Match &match) {
        return {-match.score, match.kind, match.index};
    }

    std::size_t most_;
    std::vector<Match> matches_;
    qint64 atLeast_ = 1;
};

// The best of `count` items; a score below 1 is no match. `score` is told how high a score has to
// be to count.
template <typename Score>
std::vector<Match> bestOf(std::size_t most, std::size_t count, const Score &score) {
    Best best(most);
    for (std::size_t i = 0; i < count; ++i) {
        if (const qint64 value = score(i, best.atLeast()); value >= 1)
            best.offer({value, {}, i});
    }
    return best.matches();
}

Rows recentApplications(const RowSources &from) {
    const auto launches = [&from](std::size_t i, qint64) { return from.appIndex.launches(i); };
    Rows rows;
    for (const Match &app : bestOf(mostRecentApplications, from.apps.size(), launches))
        rows.push_back(appRow(app.index, from));
    return rows;
}

std::optional<std::size_t> findEditor(const QString &text, const RowSources &from) {
    const PreparedQuery query(text);
    const std::vector<std::size_t> &editors = from.codeEditors();
    const auto best = bestOf(1, editors.size(), [&](std::size_t i, qint64 atLeast) {
        return from.appIndex.score(query, editors[i], atLeast);
    });
    if (!best.empty())
        return editors[best.front().index];
    // No code editor matches: any other application that has a role will do.
    Best other(1);
    from.appIndex.forEachCandidate(query, [&](std::size_t i) {
        const qint64 score = from.appIndex.score(query, i, other.atLeast());
        if (score >= 1 && !from.apps[i].roles.isEmpty())
            other.offer({score, Match::Kind::App, i});
    });
    return other.matches().empty() ? std::nullopt : std::optional(other.matches().front().index);
}

Rows projectsInEditor(const SearchEngine::InQuery &in, const RowSources &from) {
    const std::optional<std::size_t> index = findEditor(in.editor, from);
    auto editor = index ? std::optional(from.apps[*index]) : std::nullopt;
    if (!editor && terminalWord(in.editor) == TerminalWord::Whole)
        editor = from.terminal;
    const QString badge = u"Open in "_s + (editor ? editor->name : u"default editor"_s);
    const PreparedQuery query(in.project);
    Best best(mostProjectsInEditor);
    from.projectIndex.forEachCandidate(query, [&](std::size_t i) {
        const qint64 score = from.projectIndex.score(query, i, best.atLeast());
        if (score >= 1)
            best.offer({score, Match::Kind::Project, i});
    });
    Rows rows;
    for (const Match &project : best.matches())
        rows.push_back(projectRow(from.projects[project.index], badge, editor, from));
    if (index) {
        ResultItem alone = appRow(*index, from);
        alone.id += u"|solo"_s;
        alone.subtitle = u"Open without a project"_s;
        rows.push_back(std::move(alone));
    }
    return rows;
}

Rows applicationsOfRole(const QString &role, const RowSources &from) {
    const auto known = from.roles.taxonomy.roles.find(role);
    const QString label = known == from.roles.taxonomy.roles.cend() ? role : known->second.label;
    const std::vector<std::size_t> &members = from.appIndex.withRole(role);
    Rows rows;
    rows.reserve(members.size());
    for (const std::size_t index : members) {
        rows.push_back(appRow(index, from));
        rows.back().subtitle = label;
    }
    return rows;
}

// The application chosen for this text before. It is listed even if the text no longer matches.
std::optional<std::size_t> latchedApplication(const QString &text, const RowSources &from) {
    const auto &latches = from.stats.latches();
    const auto latch = latches.constFind(text.toLower());
    return latch == latches.cend() ? std::nullopt : from.appIndex.indexOf(*latch);
}

std::vector<Match> bestMatches(const QString &text, const RowSources &from) {
    const PreparedQuery query(text);
    const std::optional<std::size_t> latched = latchedApplication(text, from);
    Best best(mostSearchRows);
    const auto scoreOf = [&](std::size_t app) {
        return from.appIndex.score(query, app) + (latched == app ? latchBonus : 0);
    };
    from.appIndex.forEachCandidate(query, [&](std::size_t i) {
        const qint64 score = from.appIndex.score(query, i, best.atLeast());
        if (score >= 1 && latched != i)
            best.offer({score, Match::Kind::App, i});
    });
    if (const qint64 score = latched ? scoreOf(*latched) : 0; score >= 1)
        best.offer({score, Match::Kind::App, *latched});
    from.projectIndex.forEachCandidate(query, [&](std::size_t i) {
        const qint64 score = from.projectIndex.score(query, i, best.atLeast() + projectHandicap);
        if (score >= 1)
            best.offer({score - projectHandicap, Match::Kind::Project, i});
    });
    // Roles last: mostly enough is found without them.
    if (!best.keeps({roleScore, Match::Kind::AppOfRole, 0}))
        return best.matches();
    std::vector<char> isOffered(from.apps.size());
    for (const QString &role : from.roles.rolesFuzzy(text)) {
        for (const std::size_t index : from.appIndex.withRole(role)) {
            if (std::exchange(isOffered[index], 1) == 0 && scoreOf(index) < 1)
                best.offer({roleScore, Match::Kind::AppOfRole, index});
        }
    }
    return best.matches();
}

Rows search(const QString &text, const RowSources &from) {
    Rows rows;
    for (const Match &match : bestMatches(text, from)) {
        if (match.kind == Match::Kind::Project) {
            rows.push_back(foundProjectRow(match.index, from));
        } else {
            rows.push_back(appRow(match.index, from));
            if (match.kind == Match::Kind::AppOfRole)
                rows.back().running = false;
        }
    }
    return rows;
}

// What was found by its name, then what the query names besides, and the two rows that are always
// there where nothing was found by its name.
Rows searchRows(const Query &query, const RowSources &from) {
    Rows rows = search(query.text, from);
    const bool foundNothing = rows.empty();
    addFurtherRows(rows, query, from);
    if (foundNothing)
        std::ranges::move(fallbackRows(query.text, from), std::back_inserter(rows));
    return rows;
}

} // namespace

QString withHomeAsTilde(const QString &path) {
    const QString home = locations::home();
    if (!path.startsWith(home) || (path.size() > home.size() && path[home.size()] != u'/'))
        return path;
    return u'~' + path.sliced(home.size());
}

ResultItem appRow(std::size_t index, const RowSources &from) {
    const AppEntry &app = from.apps[index];
    return {from.appIndex.key(index),
            from.icon(app.path),
            app.name,
            app.path,
            appBadge,
            OpenApp{app},
            from.running.contains(app.bundleID)};
}

ResultItem projectRow(const ProjectEntry &project, const QString &badge,
                      const std::optional<AppEntry> &editor, const RowSources &from) {
    return {project.path, from.icon(locations::home()), project.name, withHomeAsTilde(project.path),
            badge,        OpenProject{project, editor}};
}

ResultItem foundProjectRow(std::size_t index, const RowSources &from) {
    const ProjectEntry &project = from.projects[index];
    const QString stack = project.stack.join(u" · "_s);
    return projectRow(project, stack.isEmpty() ? u"Project"_s : stack, {}, from);
}

TerminalWord terminalWord(const QString &editor) {
    const QString text = folded(editor);
    for (const auto word : {"terminal"_L1, "shell"_L1}) {
        if (word == text)
            return TerminalWord::Whole;
        if (!text.isEmpty() && word.startsWith(text))
            return TerminalWord::Begun;
    }
    return TerminalWord::None;
}

const std::vector<std::size_t> &RowSources::codeEditors() const {
    return appIndex.withRole(u"code-editor"_s);
}

Rows rowsFor(const Query &query, const RowSources &from) {
    Rows rows;
    switch (query.kind) {
    case Query::Kind::Empty:
        return recentApplications(from);
    case Query::Kind::Ask:
        return {};
    case Query::Kind::In:
        rows = projectsInEditor(query.in, from);
        break;
    case Query::Kind::Calculation:
        return {{u"math"_s, nullptr, u"= "_s + query.object, query.text, u"Calc"_s,
                 CopyAI{query.object}}};
    case Query::Kind::Role:
        rows = applicationsOfRole(query.object, from);
        break;
    case Query::Kind::LastProject:
    case Query::Kind::Search:
        return searchRows(query, from);
    }
    if (rows.empty())
        return fallbackRows(query.text, from);
    return rows;
}

Rows questionRows(const QString &question, bool hasKey) {
    const QString trimmed = question.trimmed();
    Rows rows;
    // The view model handles Return on this row; the action stands for nothing.
    if (!trimmed.isEmpty())
        rows.push_back(askRow(u"ai-ask"_s, trimmed, CopyAI{}));
    if (!hasKey) {
        rows.push_back({u"ai-setup"_s, nullptr, u"Set up AI"_s,
                        u"Add an OpenAI-compatible API key in Settings"_s, u"Setup"_s,
                        OpenSettings{}});
    }
    return rows;
}

std::optional<QString> pathOf(const LauncherAction &action) {
    if (const auto *open = std::get_if<OpenApp>(&action))
        return open->app.path;
    if (const auto *open = std::get_if<OpenProject>(&action))
        return open->project.path;
    if (const auto *run = std::get_if<RunAction>(&action))
        return run->applicationPath;
    if (const auto *open = std::get_if<OpenPath>(&action))
        return open->path;
    return std::nullopt;
}

std::optional<QString> iconPathOf(const LauncherAction &action) {
    return std::holds_alternative<OpenProject>(action) ? locations::home() : pathOf(action);
}

} // namespace corvid
