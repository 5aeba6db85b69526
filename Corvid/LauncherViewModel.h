#pragma once

#include "AIService.h"
#include "Search/ForgottenRow.h"
#include "Search/Query.h"
#include "Search/QueryRows.h"

#include <QObject>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <vector>

namespace corvid {

class AppCatalog;
class KeychainHelper;
class Pasteboard;
class ProjectBranches;
class ProjectIndex;
class RoleCatalog;
class SessionControl;
class UserDefaults;
class Volumes;
class Workspace;

/** A key press as the view model needs it, whatever window system it came from. */
struct KeyPress {
    bool command = false;  ///< the platform's shortcut modifier is held
    bool isReturn = false; ///< Return or Enter
    QString characters{};  ///< what the key types without the modifier
    bool shift = false;
    bool isEscape = false;
    bool repeats = false;  ///< held since an earlier press
    bool isDelete = false; ///< Delete, where the text has no use for it
};

/**
 * The one observable object behind the launcher panel: the query, the list it yields, the
 * selection, and what the keys do. Main thread only. Every published field has a signal that
 * follows each change of its value. Nothing here fails.
 *
 * Longer than other units: list, selection, keys and answer change each other. What can be decided
 * without the rest of them is in Search/ and Chat/.
 */
class LauncherViewModel final : public QObject {
    Q_OBJECT

public:
    /** What the view model works with; all of it outlives the view model. */
    struct Environment {
        UserDefaults &defaults;
        UsageStats &stats;
        const RoleCatalog &roles;
        Workspace &workspace;
        Pasteboard &pasteboard;
        const KeychainHelper &keychain;
        AIService &ai;
        const SessionControl &session;
        const Volumes &volumes;
    };

    explicit LauncherViewModel(const Environment &environment);

    const QString &query() const { return query_; }
    /** Every change runs refresh(). */
    void setQuery(const QString &query);
    const Rows &results() const { return results_; }
    /** Index of the highlighted row. */
    int selected() const { return selected_; }
    void setSelected(int index);
    /** The search field shall take the focus; the view clears it when it has done so. */
    bool focusSearch() const { return focusSearch_; }
    void setFocusSearch(bool wanted) {
        assign(focusSearch_, wanted, &LauncherViewModel::focusSearchChanged);
    }
    /** An AI answer is being shown. */
    bool aiMode() const { return aiMode_; }
    void setAiMode(bool on) { assign(aiMode_, on, &LauncherViewModel::aiModeChanged); }
    const QString &aiResponse() const { return aiResponse_; }
    void setAiResponse(const QString &text) {
        assign(aiResponse_, text, &LauncherViewModel::aiResponseChanged);
    }
    /** What else there is to say of the answer or of its failure; empty mostly. */
    const QString &aiAdvice() const { return aiAdvice_; }
    void setAiAdvice(const QString &text) {
        assign(aiAdvice_, text, &LauncherViewModel::aiAdviceChanged);
    }
    /** The answer and below it the advice, as people see them. */
    const QString &aiText() const;
    /** An answer is streaming. */
    bool aiBusy() const { return aiBusy_; }
    void setAiBusy(bool busy) { assign(aiBusy_, busy, &LauncherViewModel::aiBusyChanged); }
    /** What is shown as the answer is no answer but says what went wrong. */
    bool aiFailed() const { return aiFailed_; }
    const QString &aiQuestion() const { return aiQuestion_; }
    void setAiQuestion(const QString &question) {
        assign(aiQuestion_, question, &LauncherViewModel::aiQuestionChanged);
    }
    /** Hint line under the list. */
    const QString &statusText() const { return statusText_; }
    /** What else Return does, or what is to be known, beside that line; empty mostly. */
    const QString &hint() const { return hint_; }
    /** Identity of the current showing; a new value tells the view to start afresh. */
    const QUuid &session() const { return session_; }

    std::function<void(const LauncherAction &)> onAction;
    std::function<void()> onHide;
    /** Called when the user wants the program to end, and has been asked. */
    std::function<void()> onQuit;
    /** The desktop's prompt for the keyring's password, which had taken the panel's place, is gone
        and there is something to read. */
    std::function<void()> onShow;
    /** Without one of the two, only questions have rows. */
    AppCatalog *catalog = nullptr;
    ProjectIndex *projects = nullptr;
    /** Without it no row tells a branch. */
    ProjectBranches *branches = nullptr;

    /** Rebuilds the list from the query and publishes it once. */
    void refresh();
    /** The same for new lists behind the same query: the selected row's item stays selected if it
        is still listed. A question's rows come from no list and stay as they are. */
    void refreshInPlace();
    /** Moves the selection by a step, wrapping at both ends. */
    void moveSelection(int delta);
    /** Selects that row, or the first or the last one where it lies beyond them. */
    void selectNearest(int row);
    /** Return: records the choice and carries it out. `window`: of an application's row. What ends
        the session is carried out by a second Return alone: the first puts a question in the
        place of the row's title. */
    void submit(OpenApp::Window window = OpenApp::Window::Running);
    /** The same for a row that is pointed at, by a click or its number, which never answers a
        question. */
    void choose(int row);
    /** Takes back a question in the place of a row's title, if there is one, as every key but
        Return does, and every change of the query, of the selection and of the selected row. */
    void withdrawQuestion();
    /** The shortcuts with Command; Shift+Return, which opens an application's row in a new window
        and any other as Return does; and Shift+Delete, which forgets what was learnt about the
        selected row, until Command+Z puts it back. True when the key was consumed. */
    bool handleKeyEvent(const KeyPress &key);
    /** Has the list follow what was forgotten, if a row still offers to put it back, and takes that
        offer away. The selection stays with its row. */
    void followForgotten();
    /** Escape: leaves the AI answer, else hides the panel. */
    void cancel();
    /** Brings the settings up in place of the panel. */
    void openSettings() { perform(OpenSettings{}); }
    /** Begins a new showing. */
    void reset();
    /** The panel comes into sight, with the list as it is or after reset(): what the rows tell of
       the disk is looked up again and takes its place when it arrives. */
    void lookUpAgain();
    /** Asks the endpoint what a query means when typing has paused for 400 ms; a row for it, if it
        names something here, then stands before the given ones. Replaces what was under way. Asks
        nothing where the user does not want names to be sent. */
    void fetchIntent(const QString &query, const Rows &baseItems);
    /** Shows the AI answer to a question as it comes, or what went wrong with it. An earlier answer
        that is still coming is appended to the same text. */
    void askAI(const QString &question);
    /** Ends the answer that is coming. What has come stays; without any, as Escape does. */
    void stopAnswer();
    /** Asks the question of the answer shown once more. */
    void askAgain();
    /** Opens a link of the answer, and asks to be hidden. */
    void openAddress(const QString &address);
    /** Copies a part of the answer, or all of it where none is given. */
    void copyAnswer(const QString &part = {});
    /** Puts an icon that has arrived into the rows that show this path. */
    void updateIcon(const QString &path, const Image &icon);
    /** Likewise the branch of a project. */
    void updateBranch(const QString &projectPath, const QString &branch);

    /** Whether AI is switched on; so unless the user switched it off. */
    bool aiEnabled() const;

Q_SIGNALS:
    void queryChanged();
    void resultsChanged();
    /** The icon or the branch of one row of results() is another one. */
    void rowChanged(int row);
    void selectedChanged();
    void focusSearchChanged();
    void aiModeChanged();
    void aiResponseChanged();
    void aiAdviceChanged();
    void aiBusyChanged();
    void aiFailedChanged();
    void aiQuestionChanged();
    void statusTextChanged();
    void hintChanged();
    void sessionChanged();
    /** The selected row's path was copied. */
    void pathCopied();
    /** The list has changed and the panel shall repaint now. Never emitted from within the call
        that changed it. */
    void displayFlushRequested();

private:
    /** Sets a published field and, when that changed its value, emits the signal that says so. */
    template <typename Value>
    void assign(Value &field, const Value &value, void (LauncherViewModel::*changed)()) {
        if (field == value)
            return;
        field = value;
        (this->*changed)();
    }
    bool asks() const { return parsedQuery_.kind == Query::Kind::Ask; }
    RowSources sources();
    void showFoundPath();
    /** What a query that is no question lists. */
    Rows listedRows();
    void publish(Rows rows, int selected);
    void refreshAroundSelection();
    /** Null where the selection is no row. */
    const ResultItem *selectedRow() const;
    std::optional<QString> selectedPath() const;
    void submitSelection(OpenApp::Window window);
    void submitRow(ResultItem row, OpenApp::Window window);
    bool askBefore(const ResultItem &row);
    std::optional<QString> usageKeyOf(const ResultItem &row) const;
    void forgetSelected();
    void record(const ResultItem &row);
    void perform(const LauncherAction &action);
    void hide();
    void findTerminal();
    void cancelIntent();
    void endAnswers();
    void setAiFailed(bool failed) {
        assign(aiFailed_, failed, &LauncherViewModel::aiFailedChanged);
    }
    void showHint();
    void noteThatNamesAreSent();

    Environment environment_;
    QString query_;
    Query parsedQuery_;                ///< what `query_` asks for
    std::optional<AppEntry> terminal_; ///< the user's, as it was found last
    bool terminalSought_ = false;      ///< in this showing
    Rows results_;
    ForgottenRow forgotten_;
    int selected_ = 0;
    bool focusSearch_ = false;
    bool aiMode_ = false;
    QString aiQuestion_;
    QString aiResponse_;
    QString aiAdvice_;
    mutable QString aiText_; ///< made when asked for, where there is advice
    bool aiBusy_ = false;
    bool aiFailed_ = false;
    QString statusText_;
    std::optional<ResultItem> questioned_; ///< the row without the question in its place
    QString hint_;
    bool namesJustSent_ = false; ///< for the first time ever, while this question is typed
    QUuid session_ = QUuid::createUuid();
    std::vector<AIService::Task> answers_; ///< under way, or ended since
    QTimer pauseInTyping_;
    AIService::Task intent_;
    PathLookup paths_;
};

} // namespace corvid
