#include "LauncherViewModel.h"

#include "AppCatalog.h"
#include "Base/Settings.h"
#include "KeychainHelper.h"
#include "Platform/Pasteboard.h"
#include "Platform/Workspace.h"
#include "ProjectIndex.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

LauncherViewModel::LauncherViewModel(const Environment &environment)
    : environment_(environment), conversation_(environment.ai) {
    connect(&conversation_, &Conversation::questionChanged, this,
            &LauncherViewModel::aiQuestionChanged);
    connect(&conversation_, &Conversation::answerChanged, this,
            &LauncherViewModel::aiResponseChanged);
    connect(&conversation_, &Conversation::busyChanged, this, &LauncherViewModel::aiBusyChanged);
}

void LauncherViewModel::setQuery(const QString &query) {
    if (query_ == query)
        return;
    query_ = query;
    parsedQuery_ = parseQuery(query, environment_.roles);
    Q_EMIT queryChanged();
    refresh();
}

bool LauncherViewModel::aiEnabled() const {
    return settings::aiEnabled(environment_.defaults);
}

void LauncherViewModel::refresh() {
    conversation_.cancelUnderstanding();
    assign(this, statusText_, asks() ? u"Ask AI  ·  Return to send"_s : QString(),
           &LauncherViewModel::statusTextChanged);
    if (!asks()) {
        publish(catalog && projects ? rowsFor(parsedQuery_, sources()) : Rows());
        return;
    }
    const QString question = parsedQuery_.object.trimmed();
    const bool hasKey = environment_.keychain.get(settings::aiKeyAccount).has_value();
    const Rows rows = questionRows(question, hasKey);
    if (hasKey && !question.isEmpty() && aiEnabled())
        fetchIntent(question, rows);
    publish(rows);
}

RowSources LauncherViewModel::sources() {
    catalog->searchIndex().updateUsage(environment_.stats);
    projects->searchIndex().updateUsage(environment_.stats);
    return {catalog->apps(),
            catalog->searchIndex(),
            projects->projects(),
            projects->searchIndex(),
            environment_.roles,
            environment_.stats,
            environment_.workspace.runningApplications(),
            [this](const QString &path) { return catalog->iconForPath(path); }};
}

void LauncherViewModel::publish(Rows rows) {
    results_ = std::move(rows);
    Q_EMIT resultsChanged();
    QMetaObject::invokeMethod(this, &LauncherViewModel::displayFlushRequested,
                              Qt::QueuedConnection);
    const int last = static_cast<int>(results_.size()) - 1;
    setSelected(results_.empty() ? 0 : std::min(selected_, last));
}

void LauncherViewModel::moveSelection(int delta) {
    if (results_.empty())
        return;
    const int count = static_cast<int>(results_.size());
    setSelected((selected_ + delta % count + count) % count);
}

bool LauncherViewModel::selectionIsValid() const {
    return selected_ >= 0 && selected_ < static_cast<int>(results_.size());
}

std::optional<QString> LauncherViewModel::selectedPath() const {
    if (!selectionIsValid())
        return std::nullopt;
    return pathOf(results_[static_cast<std::size_t>(selected_)].action);
}

void LauncherViewModel::submit(OpenApp::Window window) {
    if (asks() && parsedQuery_.object.isEmpty())
        return;
    if (parsedQuery_.kind == Query::Kind::LastProject) {
        perform(OpenLastProject{});
    } else if (selectionIsValid()) {
        // A copy: recording and performing may refresh the list.
        submitRow(ResultItem(results_[static_cast<std::size_t>(selected_)]), window);
    } else if (asks()) {
        askAI(parsedQuery_.object);
    }
}

void LauncherViewModel::submitRow(ResultItem row, OpenApp::Window window) {
    if (row.id == "ai-ask"_L1) {
        askAI(parsedQuery_.object);
    } else if (const auto *ask = std::get_if<AskAI>(&row.action)) {
        askAI(ask->question);
    } else {
        record(row);
        if (auto *open = std::get_if<OpenApp>(&row.action))
            open->window = window;
        perform(row.action);
    }
}

void LauncherViewModel::record(const ResultItem &row) {
    UsageStats &stats = environment_.stats;
    if (!asks()) {
        stats.recordLaunch(row.id);
        stats.recordLatch(parsedQuery_.text, row.id);
    } else if (const auto *app = std::get_if<OpenApp>(&row.action)) {
        // What the endpoint understood counts for what it opens. A question is not latched.
        stats.recordLaunch(usageKey(app->app));
    } else if (const auto *project = std::get_if<OpenProject>(&row.action)) {
        stats.recordLaunch(usageKey(project->project));
    }
}

void LauncherViewModel::perform(const LauncherAction &action) {
    if (onAction)
        onAction(action);
    hide();
}

void LauncherViewModel::hide() {
    if (onHide)
        onHide();
}

bool LauncherViewModel::handleKeyEvent(const KeyPress &key) {
    if (!key.command) {
        if (!key.isReturn || !key.shift)
            return false;
        submit(OpenApp::Window::New);
        return true;
    }
    if (key.isReturn) {
        if (const std::optional<QString> path = selectedPath()) {
            environment_.workspace.reveal(*path);
            hide();
        }
        return true;
    }
    const QString characters = key.characters.toLower();
    if (characters == "c"_L1) {
        if (const std::optional<QString> path = selectedPath())
            environment_.pasteboard.setText(*path);
        return true;
    }
    const int row = characters.toInt(); // 0 for what is no number
    if (row < 1 || row > 9 || row > static_cast<int>(results_.size()))
        return false;
    setSelected(row - 1);
    submit();
    return true;
}

void LauncherViewModel::cancel() {
    if (!aiMode_) {
        hide();
        return;
    }
    setAiMode(false);
    conversation_.end();
}

void LauncherViewModel::reset() {
    conversation_.end();
    setQuery(QString());
    setAiMode(false);
    setAiQuestion(QString());
    setSelected(0);
    session_ = QUuid::createUuid();
    Q_EMIT sessionChanged();
    refresh();
}

void LauncherViewModel::fetchIntent(const QString &query, const Rows &baseItems) {
    conversation_.cancelUnderstanding();
    if (!catalog || !projects)
        return;
    conversation_.understand(
        query, [this] { return sources(); },
        [this, baseItems](const ResultItem &row) {
            Rows rows{row};
            rows.insert(rows.end(), baseItems.begin(), baseItems.end());
            publish(std::move(rows));
        });
}

void LauncherViewModel::askAI(const QString &question) {
    // The list is out of sight from here on: no row may come to stand under the selection.
    conversation_.cancelUnderstanding();
    setAiMode(true);
    conversation_.ask(question);
}

void LauncherViewModel::copyAnswer(const QString &part) {
    const QString &text = part.isEmpty() ? aiResponse() : part;
    if (!text.isEmpty() && onAction)
        onAction(CopyAI{text});
}

void LauncherViewModel::updateIcon(const QString &path, const Image &icon) {
    for (std::size_t i = 0; i < results_.size(); ++i) {
        if (!results_[i].icon || iconPathOf(results_[i].action) != path)
            continue;
        results_[i].icon = icon;
        Q_EMIT iconChanged(static_cast<int>(i));
    }
}

} // namespace corvid
