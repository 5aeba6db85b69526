#include "LauncherViewModel.h"

#include "Base/Locations.h"
#include "Base/Settings.h"
#include "Platform/Pasteboard.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workspace.h"
#include "Search/Calculator.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// The path behind a row, for revealing and copying it.
std::optional<QString> pathOf(const LauncherAction &action) {
    if (const auto *openApp = std::get_if<OpenApp>(&action))
        return openApp->app.path;
    if (const auto *openProject = std::get_if<OpenProject>(&action))
        return openProject->project.path;
    return std::nullopt;
}

// The path whose icon a row shows: every project carries that of the home folder, deliberately.
std::optional<QString> iconPathOf(const LauncherAction &action) {
    if (std::holds_alternative<OpenProject>(action))
        return locations::home();
    return pathOf(action);
}

} // namespace

LauncherViewModel::LauncherViewModel(const Environment &environment) : environment_(environment) {
    intentDebounce_.setSingleShot(true);
    // Any other timer may fire early, and ask for a text that is still being typed.
    intentDebounce_.setTimerType(Qt::PreciseTimer);
    connect(&intentDebounce_, &QTimer::timeout, this, [this] { askForIntent_(); });
}

void LauncherViewModel::setQuery(const QString &query) {
    if (query_ == query)
        return;
    query_ = query;
    Q_EMIT queryChanged();
    refresh();
}

void LauncherViewModel::setSelected(int index) {
    if (selected_ == index)
        return;
    selected_ = index;
    Q_EMIT selectedChanged();
}

void LauncherViewModel::setFocusSearch(bool wanted) {
    if (focusSearch_ == wanted)
        return;
    focusSearch_ = wanted;
    Q_EMIT focusSearchChanged();
}

void LauncherViewModel::setAiMode(bool on) {
    if (aiMode_ == on)
        return;
    aiMode_ = on;
    Q_EMIT aiModeChanged();
}

void LauncherViewModel::setAiResponse(const QString &text) {
    if (aiResponse_ == text)
        return;
    aiResponse_ = text;
    Q_EMIT aiResponseChanged();
}

void LauncherViewModel::setAiBusy(bool busy) {
    if (aiBusy_ == busy)
        return;
    aiBusy_ = busy;
    Q_EMIT aiBusyChanged();
}

void LauncherViewModel::setAiQuestion(const QString &question) {
    if (aiQuestion_ == question)
        return;
    aiQuestion_ = question;
    Q_EMIT aiQuestionChanged();
}

void LauncherViewModel::setStatusText(const QString &text) {
    if (statusText_ == text)
        return;
    statusText_ = text;
    Q_EMIT statusTextChanged();
}

bool LauncherViewModel::aiEnabled() const {
    return settings::aiEnabled(environment_.defaults);
}

std::optional<QString> LauncherViewModel::evalMath(const QString &trimmedQuery) {
    return corvid::evalMath(trimmedQuery);
}

void LauncherViewModel::moveSelection(int delta) {
    if (results_.empty())
        return;
    const int count = static_cast<int>(results_.size());
    setSelected((selected_ + delta % count + count) % count);
}

void LauncherViewModel::clamp() {
    if (results_.empty())
        setSelected(0);
    else
        setSelected(std::min(selected_, static_cast<int>(results_.size()) - 1));
    flushDisplay();
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
    const QString q = query_.trimmed();
    const QString lower = q.toLower();
    if (lower == "ai"_L1)
        return;
    if (lower.startsWith("ai "_L1)) {
        submitInAskMode(q, window);
        return;
    }
    if (lower == "open last project"_L1 || lower == "last project"_L1) {
        perform(OpenLastProject{});
        return;
    }
    if (selectionIsValid())
        submitSelected(q, window);
}

// The ask row, or no row, asks. Nothing is latched here: the query is a question.
void LauncherViewModel::submitInAskMode(const QString &trimmedQuery, OpenApp::Window window) {
    constexpr qsizetype prefixLength = 3; // "ai "
    if (!selectionIsValid()) {
        askAI(trimmedQuery.sliced(prefixLength));
        return;
    }
    // A copy: recording and performing may refresh the list.
    const ResultItem row = results_[static_cast<std::size_t>(selected_)];
    if (row.id == "ai-ask"_L1) {
        askAI(trimmedQuery.sliced(prefixLength));
        return;
    }
    // What the endpoint understood counts for what it opens.
    if (const auto *app = std::get_if<OpenApp>(&row.action))
        environment_.stats.recordLaunch(usageKey(app->app));
    else if (const auto *project = std::get_if<OpenProject>(&row.action))
        environment_.stats.recordLaunch(usageKey(project->project));
    perform(row.action, window);
}

void LauncherViewModel::submitSelected(const QString &trimmedQuery, OpenApp::Window window) {
    // A copy: recording and performing may refresh the list.
    const ResultItem row = results_[static_cast<std::size_t>(selected_)];
    if (const auto *ask = std::get_if<AskAI>(&row.action)) {
        askAI(ask->question);
        return;
    }
    environment_.stats.recordLaunch(row.id);
    environment_.stats.recordLatch(trimmedQuery, row.id);
    perform(row.action, window);
}

void LauncherViewModel::perform(LauncherAction action, OpenApp::Window window) {
    if (auto *openApp = std::get_if<OpenApp>(&action))
        openApp->window = window;
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
    bool isNumber = false;
    const int row = characters.toInt(&isNumber);
    if (isNumber && row >= 1 && row <= 9 && row <= static_cast<int>(results_.size())) {
        setSelected(row - 1);
        submit();
        return true;
    }
    return false;
}

void LauncherViewModel::cancel() {
    if (!aiMode_) {
        hide();
        return;
    }
    setAiMode(false);
    cancelAnswers();
    setAiBusy(false);
    setAiResponse(QString());
}

void LauncherViewModel::reset() {
    cancelAnswers();
    setQuery(QString());
    setAiMode(false);
    setAiResponse(QString());
    setAiQuestion(QString());
    setSelected(0);
    setAiBusy(false);
    session_ = QUuid::createUuid();
    Q_EMIT sessionChanged();
    refresh();
}

void LauncherViewModel::updateIcon(const QString &path, const Image &icon) {
    for (std::size_t i = 0; i < results_.size(); ++i) {
        if (!results_[i].icon || iconPathOf(results_[i].action) != path)
            continue;
        results_[i].icon = icon;
        Q_EMIT iconChanged(static_cast<int>(i));
    }
}

void LauncherViewModel::flushDisplay() {
    QMetaObject::invokeMethod(this, &LauncherViewModel::displayFlushRequested,
                              Qt::QueuedConnection);
}

} // namespace corvid
