#include "LauncherViewModel.h"

#include "AppCatalog.h"
#include "Base/Settings.h"
#include "Catalog/ProjectBranches.h"
#include "KeychainHelper.h"
#include "Model/Choice.h"
#include "Model/FooterHint.h"
#include "Platform/Pasteboard.h"
#include "Platform/Workspace.h"
#include "ProjectIndex.h"
#include "Search/SessionRows.h"
#include "Search/TypedPlaces.h"

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

LauncherViewModel::LauncherViewModel(const Environment &environment)
    : environment_(environment), terminal_(environment.workspace,
                                           [this] {
                                               if (parsedQuery_.kind == Query::Kind::In)
                                                   refresh();
                                           }),
      list_(environment.stats), paths_(environment.volumes, [this] { showFoundPath(); }),
      intents_(
          environment.ai, [this] { return sources(); }, [this] { noteThatNamesAreSent(); }),
      conversation_(environment.ai, environment.keychain) {
    conversation_.onPrompted = [this] {
        if (onShow)
            onShow();
    };
    using Model = LauncherViewModel;
    connect(&list_, &RowList::rowsChanged, this, &Model::resultsChanged);
    connect(&list_, &RowList::rowChanged, this, &Model::rowChanged);
    connect(&list_, &RowList::selectedChanged, this, &Model::selectedChanged);
    connect(&list_, &RowList::selectedChanged, this, &Model::showHint);
    connect(&list_, &RowList::flushRequested, this, &Model::displayFlushRequested);
    connect(&conversation_, &Conversation::shownChanged, this, &Model::aiModeChanged);
    connect(&conversation_, &Conversation::questionChanged, this, &Model::aiQuestionChanged);
    connect(&conversation_, &Conversation::responseChanged, this, &Model::aiResponseChanged);
    connect(&conversation_, &Conversation::adviceChanged, this, &Model::aiAdviceChanged);
    connect(&conversation_, &Conversation::busyChanged, this, &Model::aiBusyChanged);
    connect(&conversation_, &Conversation::failedChanged, this, &Model::aiFailedChanged);
    for (const auto signal : {&Conversation::shownChanged, &Conversation::questionChanged,
                              &Conversation::busyChanged, &Conversation::turnsAlongChanged})
        connect(&conversation_, signal, this, &Model::showHint);
}

void LauncherViewModel::setQuery(const QString &query) {
    if (query_ == query)
        return;
    query_ = query;
    list_.settle();
    parsedQuery_ = parseQuery(query, environment_.roles);
    if (!typedPath(parsedQuery_.text))
        paths_.forget();
    Q_EMIT queryChanged();
    refresh();
}

// The selection stays on its row, unless that is the first one, where nobody has moved it: then it
// is the first one again.
void LauncherViewModel::showFoundPath() {
    if (selected() > 0)
        refreshInPlace();
    else
        refresh();
}

bool LauncherViewModel::aiEnabled() const {
    return settings::aiEnabled(environment_.defaults);
}

void LauncherViewModel::refresh() {
    intents_.cancel();
    namesJustSent_ = namesJustSent_ && asks();
    assign(statusText_, asks() ? u"Ask AI  ·  Return to send"_s : QString(),
           &LauncherViewModel::statusTextChanged);
    if (parsedQuery_.kind == Query::Kind::In &&
        terminalWord(parsedQuery_.in.editor) != TerminalWord::None && catalog)
        terminal_.find(*catalog);
    if (!asks()) {
        publish(listedRows(), selected());
        return;
    }
    const QString question = parsedQuery_.object.trimmed();
    const bool hasKey = environment_.keychain.has(settings::aiKeyAccount);
    // One in a locked keyring need not be set up: asking has the keyring unlocked.
    const Rows rows =
        questionRows(question, hasKey || environment_.keychain.locked(settings::aiKeyAccount));
    if (hasKey && !question.isEmpty() && aiEnabled())
        fetchIntent(question, rows);
    publish(rows, selected());
}

void LauncherViewModel::refreshInPlace() {
    if (asks())
        return;
    Rows rows = listedRows();
    const ResultItem *before = list_.selectedRow();
    const auto same = before ? std::ranges::find(rows, before->id, &ResultItem::id) : rows.end();
    const int place = same == rows.end() ? selected() : static_cast<int>(same - rows.begin());
    publish(std::move(rows), place);
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
            terminal_.entry()};
}

void LauncherViewModel::publish(Rows rows, int selected) {
    if (branches) {
        for (ResultItem &row : rows) {
            if (const auto *open = std::get_if<OpenProject>(&row.action))
                row.branch = branches->branch(open->project.path);
        }
    }
    list_.publish(std::move(rows), selected);
    showHint();
}

void LauncherViewModel::showHint() {
    const FooterHint hint{parsedQuery_,
                          list_.selectedRow(),
                          namesJustSent_,
                          aiMode(),
                          aiBusy(),
                          choosesRows() && results().size() > 1,
                          conversation_.turnsAlong()};
    assign(hint_, hint.text(), &LauncherViewModel::hintChanged);
}

const ResultItem *LauncherViewModel::coveredRow() const {
    const ResultItem *row = aiMode() ? chosenRow(parsedQuery_, list_) : nullptr;
    const auto *ask = row ? std::get_if<AskAI>(&row->action) : nullptr;
    return ask && ask->question == aiQuestion() ? nullptr : row;
}

bool LauncherViewModel::choosesRows() const {
    return !aiMode() || (!asks() && parsedQuery_.kind != Query::Kind::LastProject && coveredRow());
}

void LauncherViewModel::noteThatNamesAreSent() {
    if (settings::aiNamesNoted(environment_.defaults))
        return;
    settings::setAiNamesNoted(environment_.defaults);
    namesJustSent_ = true;
    showHint();
}

std::optional<QString> LauncherViewModel::selectedPath() const {
    const ResultItem *row = aiMode() ? coveredRow() : list_.selectedRow();
    return row ? pathOf(row->action) : std::nullopt;
}

void LauncherViewModel::refreshAroundSelection() {
    if (asks())
        refresh();
    else
        refreshInPlace();
}

void LauncherViewModel::followForgotten() {
    if (list_.endForgetting())
        refreshAroundSelection();
}

void LauncherViewModel::forgetSelected() {
    const ResultItem *row = list_.selectedRow();
    const std::optional<QString> key = row ? usageKeyOf(parsedQuery_, *row) : std::nullopt;
    if (key)
        list_.forget(*key, parsedQuery_.text);
}

bool LauncherViewModel::isUntouched() const {
    return query_.isEmpty() && results().empty() &&
           !settings::launchedBefore(environment_.defaults);
}

bool LauncherViewModel::takeFreeHotKey() {
    if (!hotKeyHelp_.free || !onTakeHotKey || !isUntouched())
        return false;
    onTakeHotKey(*hotKeyHelp_.free);
    return true;
}

void LauncherViewModel::submit(OpenApp::Window window) {
    if (takeFreeHotKey())
        return;
    submitSelection(window);
    followForgotten(); // only now: what was seen is what was opened
}

void LauncherViewModel::submitSelection(OpenApp::Window window) {
    if (asks() && parsedQuery_.object.isEmpty())
        return;
    if (parsedQuery_.kind == Query::Kind::LastProject) {
        perform(OpenLastProject{});
    } else if (const ResultItem *row = list_.selectedRow()) {
        submitRow(*row,
                  window); // a copy: recording and performing may refresh the list
    } else if (asks()) {
        askAI(parsedQuery_.object);
    }
}

void LauncherViewModel::submitRow(ResultItem row, OpenApp::Window window) {
    if (row.id == "ai-ask"_L1) {
        askAI(parsedQuery_.object);
    } else if (const auto *ask = std::get_if<AskAI>(&row.action)) {
        askAI(ask->question);
    } else if (!list_.askBefore(row)) {
        recordChoice(environment_.stats, parsedQuery_, row);
        if (auto *open = std::get_if<OpenApp>(&row.action))
            open->window = window;
        perform(row.action);
    }
}

void LauncherViewModel::choose(int row) {
    withdrawQuestion();
    setSelected(row);
    submit();
}

void LauncherViewModel::perform(const LauncherAction &action) {
    if (onAction)
        onAction(action);
    hide();
}

bool LauncherViewModel::handleKeyEvent(const KeyPress &key) {
    // A key that is held has been pressed once, even if the first press is still to be handled.
    if (const ResultItem *row = list_.selectedRow();
        key.isReturn && key.repeats && row && questionBefore(row->action))
        return true;
    if (list_.asks() && (!key.isReturn || key.command || key.shift)) {
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
        if (!aiMode())
            submit(OpenApp::Window::New);
        else if (!key.repeats) // held since the question was asked
            askOn();
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
        copyPath();
        return true;
    }
    if (characters == "z"_L1 && !key.shift && list_.undoForgetting()) {
        refreshAroundSelection();
        return true;
    }
    const int row = characters.toInt(); // 0 for what is no number
    if (row < 1 || row > 9 || row > static_cast<int>(results().size()))
        return false;
    choose(row - 1);
    return true;
}

void LauncherViewModel::copyPath() {
    if (const std::optional<QString> path = selectedPath()) {
        environment_.pasteboard.setText(*path);
        Q_EMIT pathCopied();
    } else if (isUntouched() && !hotKeyHelp_.free && !hotKeyHelp_.line.isEmpty()) {
        environment_.pasteboard.setText(hotKeyHelp_.line);
        Q_EMIT lineCopied();
    }
}

void LauncherViewModel::cancel() {
    if (aiMode())
        conversation_.leave();
    else
        hide();
}

void LauncherViewModel::askAI(const QString &question) {
    intents_.cancel(); // the list is out of sight: no row may come to stand under
                       // the selection
    conversation_.ask(question);
}

void LauncherViewModel::askOn() {
    const QString &typed = asks() ? parsedQuery_.object : parsedQuery_.text;
    if (typed.isEmpty())
        return;
    intents_.cancel();
    conversation_.followUp(typed);
}

void LauncherViewModel::askAgain() {
    intents_.cancel();
    conversation_.askAgain();
}

void LauncherViewModel::reset() {
    conversation_.reset();
    list_.endForgetting();
    setQuery(QString());
    setSelected(0);
    session_ = QUuid::createUuid();
    Q_EMIT sessionChanged();
    refresh();
}

void LauncherViewModel::lookUpAgain() {
    terminal_.findAnew();
    if (!branches)
        return;
    branches->renew();
    for (const ResultItem &row : results()) {
        if (const auto *open = std::get_if<OpenProject>(&row.action))
            branches->branch(open->project.path);
    }
}

void LauncherViewModel::fetchIntent(const QString &query, const Rows &baseItems) {
    intents_.cancel();
    if (!catalog || !projects || !settings::aiSendsNames(environment_.defaults))
        return;
    intents_.ask(query, [baseItems, this](const ResultItem &row) {
        Rows rows{row};
        rows.insert(rows.end(), baseItems.begin(), baseItems.end());
        publish(std::move(rows), selected());
    });
}

} // namespace corvid
