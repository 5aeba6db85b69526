#include "LauncherViewModel.h"

#include "AppCatalog.h"
#include "Base/Settings.h"
#include "Base/Text.h"
#include "Catalog/ProjectBranches.h"
#include "Chat/ChatProtocol.h"
#include "Chat/IntentRow.h"
#include "KeychainHelper.h"
#include "Platform/Pasteboard.h"
#include "Platform/Workspace.h"
#include "ProjectIndex.h"
#include "Search/SessionRows.h"
#include "Search/TypedPlaces.h"

#include <QPointer>

#include <algorithm>
#include <memory>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

template <typename Entry>
QStringList namesOf(const std::vector<Entry> &entries) {
    QStringList names;
    for (const Entry &entry : entries)
        names.append(entry.name);
    return names;
}

} // namespace

LauncherViewModel::LauncherViewModel(const Environment &environment)
    : environment_(environment), forgotten_(environment.stats),
      paths_(environment.volumes, [this] { showFoundPath(); }) {
    pauseInTyping_.setSingleShot(true);
    pauseInTyping_.setInterval(400);
    // Any other timer may fire early, and ask for a text that is still being typed.
    pauseInTyping_.setTimerType(Qt::PreciseTimer);
}

void LauncherViewModel::setQuery(const QString &query) {
    if (query_ == query)
        return;
    questioned_.reset(); // its list goes with it
    query_ = query;
    forgotten_.end();
    parsedQuery_ = parseQuery(query, environment_.roles);
    if (!typedPath(parsedQuery_.text))
        paths_.forget();
    Q_EMIT queryChanged();
    refresh();
}

// The selection stays on its row, unless that is the first one, where nobody has moved it: then it
// is the first one again.
void LauncherViewModel::showFoundPath() {
    if (selected_ > 0)
        refreshInPlace();
    else
        refresh();
}

bool LauncherViewModel::aiEnabled() const {
    return settings::aiEnabled(environment_.defaults);
}

void LauncherViewModel::refresh() {
    cancelIntent();
    namesJustSent_ = namesJustSent_ && asks();
    assign(statusText_, asks() ? u"Ask AI  ·  Return to send"_s : QString(),
           &LauncherViewModel::statusTextChanged);
    if (parsedQuery_.kind == Query::Kind::In &&
        terminalWord(parsedQuery_.in.editor) != TerminalWord::None)
        findTerminal();
    if (!asks()) {
        publish(listedRows(), selected_);
        return;
    }
    const QString question = parsedQuery_.object.trimmed();
    const bool hasKey = environment_.keychain.has(settings::aiKeyAccount);
    // One in a locked keyring need not be set up: asking has the keyring unlocked.
    const Rows rows =
        questionRows(question, hasKey || environment_.keychain.locked(settings::aiKeyAccount));
    if (hasKey && !question.isEmpty() && aiEnabled())
        fetchIntent(question, rows);
    publish(rows, selected_);
}

void LauncherViewModel::refreshInPlace() {
    if (asks())
        return;
    Rows rows = listedRows();
    const ResultItem *before = selectedRow();
    const auto same = before ? std::ranges::find(rows, before->id, &ResultItem::id) : rows.end();
    const int selected = same == rows.end() ? selected_ : static_cast<int>(same - rows.begin());
    publish(std::move(rows), selected);
}

Rows LauncherViewModel::listedRows() {
    return catalog && projects ? rowsFor(parsedQuery_, sources()) : Rows();
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
            environment_.defaults,
            [this](const QString &path) { return catalog->iconForPath(path); },
            environment_.session,
            [this](const QString &path) { return paths_.kindOf(path); },
            terminal_};
}

void LauncherViewModel::publish(Rows rows, int selected) {
    if (branches) {
        for (ResultItem &row : rows) {
            if (const auto *open = std::get_if<OpenProject>(&row.action))
                row.branch = branches->branch(open->project.path);
        }
    }
    forgotten_.mark(rows);
    results_ = std::move(rows);
    // Together with the rows: whoever shows them shall not see another one selected in between.
    const bool moves = std::exchange(selected_, selected) != selected;
    placeQuestion(results_, selected_, questioned_);
    Q_EMIT resultsChanged();
    if (moves)
        Q_EMIT selectedChanged();
    QMetaObject::invokeMethod(this, &LauncherViewModel::displayFlushRequested,
                              Qt::QueuedConnection);
    const int last = static_cast<int>(results_.size()) - 1;
    setSelected(results_.empty() ? 0 : std::min(selected_, last));
}

void LauncherViewModel::setSelected(int index) {
    if (index != selected_)
        withdrawQuestion();
    assign(selected_, index, &LauncherViewModel::selectedChanged);
    showHint();
}

void LauncherViewModel::showHint() {
    const ResultItem *row = selectedRow();
    QString hint;
    if (asks() && row && std::holds_alternative<OpenSettings>(row->action))
        hint = parsedQuery_.object.isEmpty() ? u"Return does nothing before a question is typed"_s
                                             : u"Return opens the settings"_s;
    else if (namesJustSent_)
        hint = u"Names of your apps and projects go along (see Settings)"_s;
    assign(hint_, hint, &LauncherViewModel::hintChanged);
}

void LauncherViewModel::noteThatNamesAreSent() {
    if (settings::aiNamesNoted(environment_.defaults))
        return;
    settings::setAiNamesNoted(environment_.defaults);
    namesJustSent_ = true;
    showHint();
}

void LauncherViewModel::moveSelection(int delta) {
    if (results_.empty())
        return;
    const int count = static_cast<int>(results_.size());
    setSelected((selected_ + delta % count + count) % count);
}

void LauncherViewModel::selectNearest(int row) {
    if (!results_.empty())
        setSelected(std::clamp(row, 0, static_cast<int>(results_.size()) - 1));
}

const ResultItem *LauncherViewModel::selectedRow() const {
    const bool valid = selected_ >= 0 && selected_ < static_cast<int>(results_.size());
    return valid ? &results_[static_cast<std::size_t>(selected_)] : nullptr;
}

std::optional<QString> LauncherViewModel::selectedPath() const {
    const ResultItem *row = selectedRow();
    return row ? pathOf(row->action) : std::nullopt;
}

void LauncherViewModel::refreshAroundSelection() {
    if (asks())
        refresh();
    else
        refreshInPlace();
}

void LauncherViewModel::followForgotten() {
    if (forgotten_.end())
        refreshAroundSelection();
}

void LauncherViewModel::forgetSelected() {
    const ResultItem *row = selectedRow();
    const std::optional<QString> key = row ? usageKeyOf(*row) : std::nullopt;
    if (!key)
        return;
    forgotten_.forget(*row, *key, parsedQuery_.text);
    publish(results_, selected_);
}

void LauncherViewModel::submit(OpenApp::Window window) {
    submitSelection(window);
    followForgotten(); // only now: what was seen is what was opened
}

void LauncherViewModel::submitSelection(OpenApp::Window window) {
    if (asks() && parsedQuery_.object.isEmpty())
        return;
    if (parsedQuery_.kind == Query::Kind::LastProject) {
        perform(OpenLastProject{});
    } else if (const ResultItem *row = selectedRow()) {
        submitRow(*row, window); // a copy: recording and performing may refresh the list
    } else if (asks()) {
        askAI(parsedQuery_.object);
    }
}

void LauncherViewModel::submitRow(ResultItem row, OpenApp::Window window) {
    if (row.id == "ai-ask"_L1) {
        askAI(parsedQuery_.object);
    } else if (const auto *ask = std::get_if<AskAI>(&row.action)) {
        askAI(ask->question);
    } else if (!askBefore(row)) {
        record(row);
        if (auto *open = std::get_if<OpenApp>(&row.action))
            open->window = window;
        perform(row.action);
    }
}

// Puts the question before a row's action in its place. False where there is none, or where it has
// been there and is answered.
bool LauncherViewModel::askBefore(const ResultItem &row) {
    if (!questionBefore(row.action))
        return false;
    if (questioned_ && questioned_->id == row.id) {
        withdrawQuestion();
        return false;
    }
    questioned_ = row;
    publish(results_, selected_);
    return true;
}

void LauncherViewModel::withdrawQuestion() {
    const std::optional<ResultItem> row = std::exchange(questioned_, std::nullopt);
    if (!row)
        return;
    Rows rows = results_;
    std::ranges::replace_if(
        rows, [&row](const ResultItem &other) { return other.id == row->id; }, *row);
    publish(std::move(rows), selected_);
}

void LauncherViewModel::choose(int row) {
    withdrawQuestion();
    setSelected(row);
    submit();
}

void LauncherViewModel::record(const ResultItem &row) {
    environment_.stats.recordLaunch(usageKeyOf(row));
    if (!asks()) // a question is not latched
        environment_.stats.recordLatch(parsedQuery_.text, row.id);
}

// What the endpoint understood of a question counts for what it opens.
std::optional<QString> LauncherViewModel::usageKeyOf(const ResultItem &row) const {
    if (!asks())
        return row.id;
    if (const auto *app = std::get_if<OpenApp>(&row.action))
        return usageKey(app->app);
    if (const auto *project = std::get_if<OpenProject>(&row.action))
        return usageKey(project->project);
    return std::nullopt;
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
    // A key that is held has been pressed once, even if the first press is still to be handled.
    if (const ResultItem *row = selectedRow();
        key.isReturn && key.repeats && row && questionBefore(row->action))
        return true;
    if (questioned_ && (!key.isReturn || key.command || key.shift)) {
        withdrawQuestion();
        if (key.isEscape)
            return true;
    }
    if (!key.command) {
        if (key.isDelete && key.shift) {
            forgetSelected();
            return true;
        }
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
        if (const std::optional<QString> path = selectedPath()) {
            environment_.pasteboard.setText(*path);
            Q_EMIT pathCopied();
        }
        return true;
    }
    if (characters == "z"_L1 && !key.shift && forgotten_.undo()) {
        refreshAroundSelection();
        return true;
    }
    const int row = characters.toInt(); // 0 for what is no number
    if (row < 1 || row > 9 || row > static_cast<int>(results_.size()))
        return false;
    choose(row - 1);
    return true;
}

void LauncherViewModel::cancel() {
    if (!aiMode_) {
        hide();
        return;
    }
    setAiMode(false);
    endAnswers();
}

void LauncherViewModel::endAnswers() {
    answers_.clear();
    setAiBusy(false);
    setAiResponse(QString());
    setAiFailed(false);
    setAiAdvice(QString());
}

void LauncherViewModel::stopAnswer() {
    if (aiResponse_.isEmpty()) {
        cancel();
        return;
    }
    answers_.clear();
    setAiBusy(false);
}

void LauncherViewModel::askAgain() {
    askAI(QString(aiQuestion_));
}

void LauncherViewModel::openAddress(const QString &address) {
    perform(OpenURL{address});
}

void LauncherViewModel::reset() {
    endAnswers();
    forgotten_.end();
    setQuery(QString());
    setAiMode(false);
    setAiQuestion(QString());
    setSelected(0);
    session_ = QUuid::createUuid();
    Q_EMIT sessionChanged();
    refresh();
}

// Once in a showing, and before its name has been typed to the end.
void LauncherViewModel::findTerminal() {
    if (terminalSought_ || !catalog)
        return;
    terminalSought_ = true;
    environment_.workspace.findTerminal(
        [model = QPointer(this)](const std::optional<Workspace::Terminal> &found) {
            if (!model)
                return;
            std::optional<AppEntry> terminal;
            if (found) {
                terminal = model->catalog->appAtPath(found->path);
                if (!terminal)
                    terminal = {found->name, {}, found->path, {}, {}, {}};
                if (!terminal->roles.contains("terminal"_L1))
                    terminal->roles.append(u"terminal"_s);
            }
            if (terminal == model->terminal_)
                return;
            model->terminal_ = terminal;
            if (model->parsedQuery_.kind == Query::Kind::In)
                model->refresh();
        });
}

void LauncherViewModel::lookUpAgain() {
    terminalSought_ = false;
    if (!branches)
        return;
    branches->renew();
    for (const ResultItem &row : results_) {
        if (const auto *open = std::get_if<OpenProject>(&row.action))
            branches->branch(open->project.path);
    }
}

void LauncherViewModel::cancelIntent() {
    pauseInTyping_.stop();
    intent_.cancel();
}

void LauncherViewModel::fetchIntent(const QString &query, const Rows &baseItems) {
    cancelIntent();
    if (!catalog || !projects || !settings::aiSendsNames(environment_.defaults))
        return;
    const auto onIntent = [=, this](const std::optional<Intent> &intent) {
        // Asked for anew: the catalogs may have changed meanwhile.
        const auto row = intent ? intentRow(*intent, query, sources()) : std::nullopt;
        if (!row)
            return;
        Rows rows{*row};
        rows.insert(rows.end(), baseItems.begin(), baseItems.end());
        publish(std::move(rows), selected_);
    };
    pauseInTyping_.disconnect();
    pauseInTyping_.callOnTimeout(this, [=, this] {
        const RowSources from = sources();
        QStringList editors;
        for (const std::size_t index : from.codeEditors())
            editors.append(from.apps[index].name);
        intent_ = environment_.ai.intent(query, namesOf(from.apps), namesOf(from.projects), editors,
                                         onIntent);
        noteThatNamesAreSent();
    });
    pauseInTyping_.start();
}

void LauncherViewModel::askAI(const QString &question) {
    // The list is out of sight from here on: no row may come to stand under the selection.
    cancelIntent();
    setAiMode(true);
    setAiBusy(true);
    setAiQuestion(question);
    setAiResponse(QString());
    setAiFailed(false);
    setAiAdvice(QString());
    std::erase_if(answers_, [](const AIService::Task &task) { return !task.active(); });
    // Whatever comes first, it comes once the prompt is gone.
    const auto prompted =
        std::make_shared<bool>(environment_.keychain.locked(settings::aiKeyAccount));
    const auto comeBack = [this, prompted] {
        if (std::exchange(*prompted, false) && onShow)
            onShow();
    };
    const auto append = [this, comeBack](const QString &element) {
        comeBack();
        const QString text = displayText(element);
        if (text.isEmpty())
            return;
        if (aiResponse_.isEmpty() && chat::isFailureText(text))
            setAiFailed(true);
        // In place: a long answer is not copied for every word of it.
        aiResponse_ += text;
        Q_EMIT aiResponseChanged();
    };
    const auto finish = [this, comeBack](const std::optional<QString> &error,
                                         const QString &advice) {
        comeBack();
        if (error) {
            setAiFailed(true);
            setAiResponse(u"Error: "_s + displayText(*error) +
                          u"\n\nSet your API key in Settings (menu bar icon)."_s);
        }
        setAiAdvice(displayText(advice));
        setAiBusy(false);
    };
    answers_.push_back(environment_.ai.stream(question, append, finish));
}

const QString &LauncherViewModel::aiText() const {
    if (aiAdvice_.isEmpty())
        return aiResponse_;
    return aiText_ = aiResponse_.isEmpty() ? aiAdvice_ : aiResponse_ + u"\n\n"_s + aiAdvice_;
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
        Q_EMIT rowChanged(static_cast<int>(i));
    }
}

void LauncherViewModel::updateBranch(const QString &projectPath, const QString &branch) {
    for (std::size_t i = 0; i < results_.size(); ++i) {
        const auto *open = std::get_if<OpenProject>(&results_[i].action);
        if (!open || open->project.path != projectPath)
            continue;
        results_[i].branch = branch;
        Q_EMIT rowChanged(static_cast<int>(i));
    }
}

} // namespace corvid
