// The query pipeline: from the query text to the list of rows.

#include "LauncherViewModel.h"

#include "AppCatalog.h"
#include "Base/Locations.h"
#include "Base/Settings.h"
#include "KeychainHelper.h"
#include "Platform/Workspace.h"
#include "ProjectIndex.h"
#include "RoleCatalog.h"
#include "SearchEngine.h"

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

const QString codeEditorRole = u"code-editor"_s;
const QString appBadge = u"App"_s;

// A row that may be shown, before anything is built for it.
struct Candidate {
    enum class Kind { App, AppOfRole, Project };
    Kind kind;
    std::size_t index;
};

QString withHomeAsTilde(const QString &path) {
    const QString home = locations::home();
    if (!path.startsWith(home) || (path.size() > home.size() && path[home.size()] != u'/'))
        return path;
    return u'~' + path.sliced(home.size());
}

QString webSearchUrl(const QString &query) {
    // What may stand in a URL's query besides the unreserved characters.
    static const QByteArray allowed = "!$&'()*+,;=:@/?";
    return u"https://www.google.com/search?q="_s +
           QString::fromLatin1(QUrl::toPercentEncoding(query, allowed));
}

} // namespace

void LauncherViewModel::refresh() {
    cancelIntent();
    const QString q = query_.trimmed();
    const QString lower = q.toLower();
    if (lower == "ai"_L1 || lower.startsWith("ai "_L1)) {
        setStatusText(u"Ask AI  ·  Return to send"_s);
        publish(askRows(q));
        return;
    }
    setStatusText(QString());
    if (!catalog || !projects) {
        publish({});
        return;
    }
    if (q.isEmpty())
        publish(recentApplications());
    else if (const auto parts = SearchEngine::parseInQuery(q))
        publish(projectsInEditor(parts->project, parts->editor, q));
    else if (const auto value = evalMath(q))
        publish({{u"math"_s, nullptr, u"= "_s + *value, q, u"Calc"_s, CopyAI{*value}}});
    else if (const auto role = environment_.roles.roleMatching(q))
        publish(applicationsOfRole(*role, q));
    else
        publish(search(q));
}

LauncherViewModel::Rows LauncherViewModel::recentApplications() {
    AppSearchIndex &index = catalog->searchIndex();
    index.updateUsage(environment_.stats);
    BestMatches<std::size_t> best(mostRecentApplications);
    for (std::size_t i = 0; i < index.size(); ++i) {
        if (index.launches(i) > 0)
            best.offer(index.launches(i), i);
    }
    Rows rows;
    for (const Scored<std::size_t> &app : best.sorted())
        rows.push_back(appRow(app.item));
    return rows;
}

LauncherViewModel::Rows LauncherViewModel::projectsInEditor(const QString &projectText,
                                                            const QString &editorText,
                                                            const QString &trimmedQuery) {
    const std::optional<AppEntry> editor = findEditor(editorText);
    const PreparedQuery query(projectText);
    ProjectSearchIndex &index = projects->searchIndex();
    index.updateUsage(environment_.stats);
    BestMatches<std::size_t> best(mostProjectsInEditor);
    for (std::size_t i = 0; i < index.size(); ++i) {
        if (const qint64 score = index.score(query, i); score >= 1)
            best.offer(score, i);
    }
    const QString badge = u"Open in "_s + (editor ? editor->name : u"default editor"_s);
    Rows rows;
    for (const Scored<std::size_t> &project : best.sorted())
        rows.push_back(projectRow(projects->projects()[project.item], badge, editor));
    if (editor) {
        rows.push_back({usageKey(*editor) + u"|solo"_s, catalog->icon(*editor), editor->name,
                        u"Open without a project"_s, appBadge, OpenApp{*editor},
                        isRunning(*editor)});
    }
    return rows.empty() ? fallbackItems(trimmedQuery) : rows;
}

LauncherViewModel::Rows LauncherViewModel::applicationsOfRole(const QString &role,
                                                              const QString &trimmedQuery) {
    const auto &roles = environment_.roles.taxonomy.roles;
    const auto known = roles.find(role);
    const QString label = known == roles.cend() ? role : known->second.label;
    const std::vector<std::size_t> &members = catalog->searchIndex().withRole(role);
    Rows rows;
    rows.reserve(members.size());
    for (const std::size_t index : members) {
        ResultItem row = appRow(index);
        row.subtitle = label;
        rows.push_back(std::move(row));
    }
    return rows.empty() ? fallbackItems(trimmedQuery) : rows;
}

LauncherViewModel::Rows LauncherViewModel::search(const QString &trimmedQuery) {
    const PreparedQuery query(trimmedQuery);
    AppSearchIndex &apps = catalog->searchIndex();
    apps.updateUsage(environment_.stats);
    ProjectSearchIndex &projectIndex = projects->searchIndex();
    projectIndex.updateUsage(environment_.stats);

    // A latched application is listed even if the text no longer matches it.
    std::optional<std::size_t> latched;
    const auto &latches = environment_.stats.latches();
    if (const auto latch = latches.constFind(trimmedQuery.toLower()); latch != latches.cend())
        latched = apps.indexOf(*latch);

    BestMatches<Candidate> best(mostSearchRows);
    std::vector<bool> offered(apps.size(), false);
    for (std::size_t i = 0; i < apps.size(); ++i) {
        const qint64 score = apps.score(query, i) + (latched == i ? latchBonus : 0);
        if (score < 1)
            continue;
        best.offer(score, {Candidate::Kind::App, i});
        offered[i] = true;
    }

    std::vector<bool> ofRole(apps.size(), false);
    const QStringList roles = environment_.roles.rolesFuzzy(trimmedQuery);
    for (const QString &role : roles) {
        for (const std::size_t index : apps.withRole(role))
            ofRole[index] = true;
    }
    for (std::size_t i = 0; i < apps.size(); ++i) {
        if (ofRole[i] && !offered[i])
            best.offer(roleScore, {Candidate::Kind::AppOfRole, i});
    }

    for (std::size_t i = 0; i < projectIndex.size(); ++i) {
        if (const qint64 score = projectIndex.score(query, i); score >= 1)
            best.offer(score - projectHandicap, {Candidate::Kind::Project, i});
    }

    Rows rows;
    for (const Scored<Candidate> &match : best.sorted()) {
        const std::size_t index = match.item.index;
        if (match.item.kind == Candidate::Kind::Project) {
            const ProjectEntry &project = projects->projects()[index];
            const QString stack = project.stack.join(u" · "_s);
            rows.push_back(
                projectRow(project, stack.isEmpty() ? u"Project"_s : stack, std::nullopt));
            continue;
        }
        ResultItem row = appRow(index);
        if (match.item.kind == Candidate::Kind::AppOfRole)
            row.running = false;
        rows.push_back(std::move(row));
    }
    return rows.empty() ? fallbackItems(trimmedQuery) : rows;
}

LauncherViewModel::Rows LauncherViewModel::askRows(const QString &trimmedQuery) {
    const QString question =
        trimmedQuery.sliced(std::min<qsizetype>(3, trimmedQuery.size())).trimmed();
    Rows rows;
    if (!question.isEmpty()) {
        rows.push_back({u"ai-ask"_s, nullptr, u"Ask AI: "_s + question,
                        u"Streams an answer from your endpoint"_s, u"AI"_s,
                        // Return in ask mode is submit()'s matter, so the row itself does nothing.
                        CopyAI{QString()}});
    }
    if (environment_.keychain.get(settings::aiKeyAccount)) {
        if (!question.isEmpty() && aiEnabled())
            fetchIntent(question, rows);
    } else {
        rows.push_back({u"ai-setup"_s, nullptr, u"Set up AI"_s,
                        u"Add an OpenAI-compatible API key in Settings"_s, u"Setup"_s,
                        OpenSettings{}});
    }
    return rows;
}

std::optional<AppEntry> LauncherViewModel::findEditor(const QString &editorText) {
    const PreparedQuery query(editorText);
    AppSearchIndex &index = catalog->searchIndex();
    index.updateUsage(environment_.stats);
    const std::vector<AppEntry> &apps = catalog->apps();
    BestMatches<std::size_t> bestEditor(1);
    BestMatches<std::size_t> bestOther(1);
    for (std::size_t i = 0; i < apps.size(); ++i) {
        if (apps[i].roles.isEmpty())
            continue;
        const qint64 score = index.score(query, i);
        if (score > 0)
            (apps[i].roles.contains(codeEditorRole) ? bestEditor : bestOther).offer(score, i);
    }
    // An application that is no code editor is used only when no code editor matches at all.
    for (const auto *best : {&bestEditor, &bestOther}) {
        if (!best->sorted().empty())
            return apps[best->sorted().front().item];
    }
    return std::nullopt;
}

LauncherViewModel::Rows LauncherViewModel::fallbackItems(const QString &trimmedQuery) {
    return {{u"web-search"_s, nullptr, u"Search Google for “"_s + trimmedQuery + u"”"_s,
             u"Opens in your default browser"_s, u"Web"_s, OpenURL{webSearchUrl(trimmedQuery)}},
            {u"ai-fallback"_s, nullptr, u"Ask AI: "_s + trimmedQuery,
             u"Streams an answer from your endpoint"_s, u"AI"_s, AskAI{trimmedQuery}}};
}

ResultItem LauncherViewModel::appRow(std::size_t index) const {
    const AppEntry &app = catalog->apps()[index];
    return {catalog->searchIndex().key(index),
            catalog->icon(app),
            app.name,
            app.path,
            appBadge,
            OpenApp{app},
            isRunning(app)};
}

ResultItem LauncherViewModel::projectRow(const ProjectEntry &project, const QString &badge,
                                         const std::optional<AppEntry> &editor) const {
    return {project.path, catalog->iconForPath(locations::home()),
            project.name, withHomeAsTilde(project.path),
            badge,        OpenProject{project, editor}};
}

bool LauncherViewModel::isRunning(const AppEntry &app) const {
    return environment_.workspace.runningApplications().contains(app.bundleID);
}

void LauncherViewModel::publish(Rows rows) {
    results_ = std::move(rows);
    Q_EMIT resultsChanged();
    flushDisplay();
    clamp();
}

} // namespace corvid
