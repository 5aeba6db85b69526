#pragma once

#include "Base/HotKeyHelp.h"
#include "Chat/Conversation.h"
#include "Chat/IntentLookup.h"
#include "Model/RowList.h"
#include "Model/UsersTerminal.h"
#include "Search/Query.h"

#include <QObject>
#include <QUuid>

#include <functional>

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
 * Here is what joins them: the list with its selection is RowList's, what is asked and answered
 * Conversation's. Its unit is longer than others, since it publishes so much.
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
    const Rows &results() const { return list_.rows(); }
    /** Index of the highlighted row. */
    int selected() const { return list_.selected(); }
    void setSelected(int index) { list_.select(index); }
    /** The search field shall take the focus; the view clears it when it has done so. */
    bool focusSearch() const { return focusSearch_; }
    void setFocusSearch(bool wanted) {
        assign(focusSearch_, wanted, &LauncherViewModel::focusSearchChanged);
    }
    /** An AI answer is being shown. This and what follows of it is Conversation's. */
    bool aiMode() const { return conversation_.shown(); }
    void setAiMode(bool on) { conversation_.setShown(on); }
    const QString &aiResponse() const { return conversation_.response(); }
    void setAiResponse(const QString &text) { conversation_.setResponse(text); }
    /** The answer, and below it what else there is to say of it, as people see them. */
    const QString &aiText() const { return conversation_.text(); }
    /** An answer is streaming. */
    bool aiBusy() const { return conversation_.busy(); }
    void setAiBusy(bool busy) { conversation_.setBusy(busy); }
    /** What is shown as the answer is no answer but says what went wrong. */
    bool aiFailed() const { return conversation_.failed(); }
    const QString &aiQuestion() const { return conversation_.question(); }
    void setAiQuestion(const QString &question) { conversation_.setQuestion(question); }
    /** The row that Return carries out though an answer covers the list. Null where no answer does,
        and where Return does nothing, asks the typed question or the one shown once more. */
    const ResultItem *coveredRow() const;
    /** Whether the arrow keys choose a row: of the list, or the covered one while the typed text is
        no question. They scroll the answer otherwise. */
    bool choosesRows() const;
    /** Hint line under the list. */
    const QString &statusText() const { return statusText_; }
    /** What else Return does, or what is to be known, beside that line; empty mostly. */
    const QString &hint() const { return hint_; }
    /** Identity of the current showing; a new value tells the view to start afresh. */
    const QUuid &session() const { return session_; }

    /** Nothing was typed, nothing is listed, and nothing was ever launched. */
    bool isUntouched() const;
    /** How a key shows the panel, or why none does. While untouched, Return takes the combination
        that is free, and Command+C copies the line that binds one. */
    const HotKeyHelp &hotKeyHelp() const { return hotKeyHelp_; }
    void setHotKeyHelp(const HotKeyHelp &help) {
        assign(hotKeyHelp_, help, &LauncherViewModel::hotKeyHelpChanged);
    }

    std::function<void(const LauncherAction &)> onAction;
    /** Called when this shall be the hot key. */
    std::function<void(const HotKey &)> onTakeHotKey;
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
    void moveSelection(int delta) { list_.move(delta); }
    /** Selects that row, or the first or the last one where it lies beyond them. */
    void selectNearest(int row) { list_.selectNearest(row); }
    /** Return: records the choice and carries it out. `window`: of an application's row. What ends
        the session is carried out by a second Return alone: the first puts a question in the place
        of the row's title. */
    void submit(OpenApp::Window window = OpenApp::Window::Running);
    /** The same for a row that is pointed at, by a click or its number, which never answers a
        question. */
    void choose(int row);
    /** Takes back a question in the place of a row's title, if there is one, as every key but
        Return does, and every change of the query, of the selection and of the selected row. */
    void withdrawQuestion() { list_.withdrawQuestion(); }
    /** The shortcuts with Command; Shift+Return, which opens an application's row in a new window
        and any other as Return does, and in an answer asks on; and Shift+Delete, which forgets what
        was learnt about the selected row, until Command+Z puts it back. In an answer, which covers
        the rows, the number of a row chooses it and opens it the second time. True when the key was
        consumed. */
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
    /** Asks what is typed, with "ai" before it or not, as a further question: the turns of this
        showing go along. */
    void askOn();
    /** Ends the answer that is coming. What has come stays; without any, as Escape does. */
    void stopAnswer() { conversation_.stop(); }
    /** Asks the question of the answer shown once more, with what went along with it. */
    void askAgain();
    /** Opens a link of the answer, and asks to be hidden. */
    void openAddress(const QString &address) { perform(OpenURL{address}); }
    /** Copies a part of the answer, or all of it where none is given. */
    void copyAnswer(const QString &part = {}) {
        const QString &text = part.isEmpty() ? aiResponse() : part;
        if (!text.isEmpty() && onAction)
            onAction(CopyAI{text});
    }
    /** Puts an icon that has arrived into the rows that show this path. */
    void updateIcon(const QString &path, const Image &icon) { list_.updateIcon(path, icon); }
    /** Likewise the branch of a project. */
    void updateBranch(const QString &projectPath, const QString &branch) {
        list_.updateBranch(projectPath, branch);
    }

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
    void hotKeyHelpChanged();
    /** The line of hotKeyHelp() was copied. */
    void lineCopied();
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
    std::optional<QString> selectedPath() const;
    void submitSelection(OpenApp::Window window);
    void submitRow(ResultItem row, OpenApp::Window window);
    bool takeFreeHotKey();
    void copyPath();
    void forgetSelected();
    void perform(const LauncherAction &action);
    void hide() {
        if (onHide)
            onHide();
    }
    void showHint();
    void noteThatNamesAreSent();

    Environment environment_;
    QString query_;
    Query parsedQuery_; ///< what `query_` asks for
    UsersTerminal terminal_;
    RowList list_;
    bool focusSearch_ = false;
    QString statusText_;
    QString hint_;
    bool namesJustSent_ = false; ///< for the first time ever, while this question is typed
    QUuid session_ = QUuid::createUuid();
    PathLookup paths_;
    HotKeyHelp hotKeyHelp_;
    IntentLookup intents_;
    Conversation conversation_;
};

} // namespace corvid
