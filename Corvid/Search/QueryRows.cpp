#include "Search/QueryRows.h"

#include "Base/Locations.h"
#include "RoleCatalog.h"

#include <QUrl>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::size_t mostRecentApplications = 7;
constexpr std::size_t mostProjectsInEditor = 8;
constexpr std::size_t mostSearchRows = 9;
constexpr qint64 latchBonus = 500;
constexpr qint64 roleScore = 200;
constexpr qint64 projectHandicap = 50; // an equally matched application stands first

const QString appBadge = u"App"_s;

QString withHomeAsTilde(const QString &path) {
    const QString home = locations::home();
    if (!path.startsWith(home) || (path.size() > home.size() && path[home.size()] != u'/'))
        return path;
    return u'~' + path.sliced(home.size());
}

QString webSearchUrl(const QString &query) {
    // Allowed in a URL's query besides the unreserved characters.
    static const QByteArray allowed = "!$&'()*+,;=:@/?";
    return u"https://www.google.com/search?q="_s +
           QString::fromLatin1(QUrl::toPercentEncoding(query, allowed));
}

ResultItem appRow(std::size_t index, const RowSources &from) {
    const AppEntry &app = from.apps[index];
    return {from.appIndex.key(index),           nullptr, app.name, app.path, appBadge, OpenApp{app},
            from.running.contains(app.bundleID)};
}

ResultItem projectRow(const ProjectEntry &project, const QString &badge,
                      const std::optional<AppEntry> &editor) {
    return {project.path, nullptr,
            project.name, withHomeAsTilde(project.path),
            badge,        OpenProject{project, editor}};
}

ResultItem askRow(const QString &id, const QString &question, LauncherAction action) {
    return {id,
            nullptr,
            u"Ask AI: "_s + question,
            u"Streams an answer from your endpoint"_s,
            u"AI"_s,
            std::move(action)};
}

Rows fallbackRows(const QString &text) {
    return {{u"web-search"_s, nullptr, u"Search Google for “"_s + text + u"”"_s,
             u"Opens in your default browser"_s, u"Web"_s, OpenURL{webSearchUrl(text)}},
            askRow(u"ai-fallback"_s, text, AskAI{text})};
}

// The best of `count` items; a score below 1 is no match.
template <typename Score>
std::vector<Scored<std::size_t>> bestOf(std::size_t most, std::size_t count, const Score &score) {
    BestMatches<std::size_t> best(most);
    for (std::size_t i = 0; i < count; ++i) {
        if (const qint64 value = score(i); value >= 1)
            best.offer(value, i);
    }
    return best.sorted();
}

Rows recentApplications(const RowSources &from) {
    const auto launches = [&from](std::size_t i) { return from.appIndex.launches(i); };
    Rows rows;
    for (const auto &app : bestOf(mostRecentApplications, from.apps.size(), launches))
        rows.push_back(appRow(app.item, from));
    return rows;
}

std::optional<std::size_t> findEditor(const QString &text, const RowSources &from) {
    const PreparedQuery query(text);
    const std::vector<std::size_t> &editors = from.codeEditors();
    auto best = bestOf(1, editors.size(),
                       [&](std::size_t i) { return from.appIndex.score(query, editors[i]); });
    if (!best.empty())
        return editors[best.front().item];
    // No code editor matches: any other application that has a role will do.
    best = bestOf(1, from.apps.size(), [&](std::size_t i) {
        return from.apps[i].roles.isEmpty() ? 0 : from.appIndex.score(query, i);
    });
    return best.empty() ? std::nullopt : std::optional(best.front().item);
}

Rows projectsInEditor(const SearchEngine::InQuery &in, const RowSources &from) {
    const std::optional<std::size_t> index = findEditor(in.editor, from);
    const auto editor = index ? std::optional(from.apps[*index]) : std::nullopt;
    const QString badge = u"Open in "_s + (editor ? editor->name : u"default editor"_s);
    const PreparedQuery query(in.project);
    const auto score = [&](std::size_t i) { return from.projectIndex.score(query, i); };
    Rows rows;
    for (const auto &project : bestOf(mostProjectsInEditor, from.projects.size(), score))
        rows.push_back(projectRow(from.projects[project.item], badge, editor));
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

/** The steps of a search. A row is built only for what ends up in the list. */
class Search {
public:
    Search(const QString &text, const RowSources &from)
        : text_(text), query_(text), from_(from), offered_(from.apps.size(), false) {}

    Rows rows() {
        offerApplications();
        offerApplicationsOfRoles();
        offerProjects();
        Rows rows;
        for (const Scored<Candidate> &match : best_.sorted())
            rows.push_back(row(match.item));
        return rows;
    }

private:
    struct Candidate {
        enum class Kind { App, AppOfRole, Project };
        Kind kind;
        std::size_t index;
    };

    // The application chosen for this text before. It is listed even if the text no longer matches.
    std::optional<std::size_t> latchedApplication() const {
        const auto &latches = from_.stats.latches();
        const auto latch = latches.constFind(text_.toLower());
        return latch == latches.cend() ? std::nullopt : from_.appIndex.indexOf(*latch);
    }

    void offerApplications() {
        const std::optional<std::size_t> latched = latchedApplication();
        for (std::size_t i = 0; i < from_.apps.size(); ++i) {
            const qint64 score = from_.appIndex.score(query_, i) + (latched == i ? latchBonus : 0);
            if (score < 1)
                continue;
            best_.offer(score, {Candidate::Kind::App, i});
            offered_[i] = true;
        }
    }

    void offerApplicationsOfRoles() {
        std::vector<bool> ofRole(from_.apps.size(), false);
        const QStringList roles = from_.roles.rolesFuzzy(text_);
        for (const QString &role : roles) {
            for (const std::size_t index : from_.appIndex.withRole(role))
                ofRole[index] = true;
        }
        for (std::size_t i = 0; i < ofRole.size(); ++i) {
            if (ofRole[i] && !offered_[i])
                best_.offer(roleScore, {Candidate::Kind::AppOfRole, i});
        }
    }

    void offerProjects() {
        for (std::size_t i = 0; i < from_.projects.size(); ++i) {
            if (const qint64 score = from_.projectIndex.score(query_, i); score >= 1)
                best_.offer(score - projectHandicap, {Candidate::Kind::Project, i});
        }
    }

    ResultItem row(const Candidate &candidate) const {
        if (candidate.kind == Candidate::Kind::Project) {
            const ProjectEntry &project = from_.projects[candidate.index];
            const QString stack = project.stack.join(u" · "_s);
            return projectRow(project, stack.isEmpty() ? u"Project"_s : stack, std::nullopt);
        }
        ResultItem row = appRow(candidate.index, from_);
        row.running = row.running && candidate.kind == Candidate::Kind::App;
        return row;
    }

    const QString &text_;
    const PreparedQuery query_;
    const RowSources &from_;
    BestMatches<Candidate> best_{mostSearchRows};
    std::vector<bool> offered_;
};

Rows rowsOfKind(const Query &query, const RowSources &from) {
    switch (query.kind) {
    case Query::Kind::Empty:
        return recentApplications(from);
    case Query::Kind::Ask:
        return {};
    case Query::Kind::In:
        return projectsInEditor(query.in, from);
    case Query::Kind::Calculation:
        return {{u"math"_s, nullptr, u"= "_s + query.object, query.text, u"Calc"_s,
                 CopyAI{query.object}}};
    case Query::Kind::Role:
        return applicationsOfRole(query.object, from);
    case Query::Kind::LastProject:
    case Query::Kind::Search:
        break;
    }
    return Search(query.text, from).rows();
}

} // namespace

const std::vector<std::size_t> &RowSources::codeEditors() const {
    return appIndex.withRole(u"code-editor"_s);
}

Rows rowsFor(const Query &query, const RowSources &from) {
    Rows rows = rowsOfKind(query, from);
    if (rows.empty() && query.kind != Query::Kind::Empty && query.kind != Query::Kind::Ask)
        return fallbackRows(query.text);
    for (ResultItem &row : rows)
        setIcon(row, from);
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

void setIcon(ResultItem &row, const RowSources &from) {
    if (const std::optional<QString> path = iconPathOf(row.action))
        row.icon = from.icon(*path);
}

std::optional<QString> pathOf(const LauncherAction &action) {
    if (const auto *open = std::get_if<OpenApp>(&action))
        return open->app.path;
    if (const auto *open = std::get_if<OpenProject>(&action))
        return open->project.path;
    return std::nullopt;
}

std::optional<QString> iconPathOf(const LauncherAction &action) {
    return std::holds_alternative<OpenProject>(action) ? locations::home() : pathOf(action);
}

} // namespace corvid
