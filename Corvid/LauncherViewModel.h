#pragma once

#include "AIService.h"
#include "Base/Records.h"
#include "UsageStats.h"

#include <QObject>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <vector>

namespace corvid {

class AppCatalog;
class KeychainHelper;
class Pasteboard;
class ProjectIndex;
class RoleCatalog;
class UserDefaults;
class Workspace;

/** A key press as the view model needs it, whatever window system it came from. */
struct KeyPress {
    bool command = false;  ///< the platform's shortcut modifier is held
    bool isReturn = false; ///< Return or Enter
    QString characters;    ///< what the key types without the modifier
    bool shift = false;
};

/**
 * The one observable object behind the launcher panel: the query, the list it yields, the
 * selection, and what Return does. Main thread only. Every published field has a signal that
 * follows each change of its value. Nothing here fails.
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
    };

    explicit LauncherViewModel(const Environment &environment);

    const QString &query() const { return query_; }
    /** Every change runs refresh(). */
    void setQuery(const QString &query);
    const std::vector<ResultItem> &results() const { return results_; }
    /** Index of the highlighted row. */
    int selected() const { return selected_; }
    void setSelected(int index);
    /** The search field shall take the focus; the view clears it when it has done so. */
    bool focusSearch() const { return focusSearch_; }
    void setFocusSearch(bool wanted);
    /** An AI answer is being shown. */
    bool aiMode() const { return aiMode_; }
    void setAiMode(bool on);
    const QString &aiResponse() const { return aiResponse_; }
    void setAiResponse(const QString &text);
    /** An answer is streaming. */
    bool aiBusy() const { return aiBusy_; }
    void setAiBusy(bool busy);
    const QString &aiQuestion() const { return aiQuestion_; }
    void setAiQuestion(const QString &question);
    /** Hint line under the list. */
    const QString &statusText() const { return statusText_; }
    /** Identity of the current showing; a new value tells the view to start afresh. */
    const QUuid &session() const { return session_; }

    std::function<void(const LauncherAction &)> onAction;
    std::function<void()> onHide;
    std::function<void()> onOpenSettings;
    AppCatalog *catalog = nullptr;
    ProjectIndex *projects = nullptr;

    /** Rebuilds the list from the query and publishes it once. */
    void refresh();
    /** Moves the selection by a step, wrapping at both ends. */
    void moveSelection(int delta);
    /** Return: records the choice and carries it out. `window`: of an application's row. */
    void submit(OpenApp::Window window = OpenApp::Window::Running);
    /** The shortcuts with Command, and Shift+Return, which opens an application's row in a new
        window and any other as Return does. True when the key was consumed. */
    bool handleKeyEvent(const KeyPress &key);
    /** Escape: leaves the AI answer, else hides the panel. */
    void cancel();
    /** Begins a new showing. */
    void reset();
    /** Starts to find out in the background what a query means; a row for it then stands before
        the given ones. Replaces what was under way. */
    void fetchIntent(const QString &query, const std::vector<ResultItem> &baseItems);
    /** Shows the AI answer to a question as it comes, or what went wrong with it. */
    void askAI(const QString &question);
    /** Copies a part of the answer, or all of it where none is given. */
    void copyAnswer(const QString &part = {});
    /** Puts an icon that has arrived into the rows that show this path. */
    void updateIcon(const QString &path, const Image &icon);

    /** Whether AI is switched on; so unless the user switched it off. */
    bool aiEnabled() const;

    /** The value of an arithmetic query as text; nothing when it is none. */
    static std::optional<QString> evalMath(const QString &trimmedQuery);

Q_SIGNALS:
    void queryChanged();
    void resultsChanged();
    /** The icon of one row of results() is another one. */
    void iconChanged(int row);
    void selectedChanged();
    void focusSearchChanged();
    void aiModeChanged();
    void aiResponseChanged();
    void aiBusyChanged();
    void aiQuestionChanged();
    void statusTextChanged();
    void sessionChanged();
    /** The list has changed and the panel shall repaint now. Never emitted from within the call
        that changed it. */
    void displayFlushRequested();

private:
    using Rows = std::vector<ResultItem>;

    // The modes of refresh(), each of which yields the whole list.
    Rows recentApplications();
    Rows projectsInEditor(const QString &projectText, const QString &editorText,
                          const QString &trimmedQuery);
    Rows applicationsOfRole(const QString &role, const QString &trimmedQuery);
    Rows search(const QString &trimmedQuery);
    Rows askRows(const QString &trimmedQuery);

    std::optional<AppEntry> findEditor(const QString &editorText);
    static Rows fallbackItems(const QString &trimmedQuery);

    /** The row of the application at an index of the catalog. */
    ResultItem appRow(std::size_t index) const;
    ResultItem projectRow(const ProjectEntry &project, const QString &badge,
                          const std::optional<AppEntry> &editor) const;
    bool isRunning(const AppEntry &app) const;

    void cancelIntent();
    void applyIntent(const Intent &intent, const QString &query, const Rows &baseItems);
    void appendToAnswer(const QString &text);
    void cancelAnswers();

    void publish(Rows rows);
    void setStatusText(const QString &text);
    void clamp();
    std::optional<QString> selectedPath() const;
    bool selectionIsValid() const;
    void flushDisplay();
    void submitSelected(const QString &trimmedQuery, OpenApp::Window window);
    void submitInAskMode(const QString &trimmedQuery, OpenApp::Window window);
    void perform(LauncherAction action, OpenApp::Window window = OpenApp::Window::Running);
    void hide();

    Environment environment_;
    QString query_;
    Rows results_;
    int selected_ = 0;
    bool focusSearch_ = false;
    bool aiMode_ = false;
    QString aiResponse_;
    bool aiBusy_ = false;
    QString aiQuestion_;
    QString statusText_;
    QUuid session_ = QUuid::createUuid();
    AIService::Task aiTask_;
    std::vector<AIService::Task> replacedTasks_; ///< answers that a newer question did not end
    QTimer intentDebounce_;
    std::function<void()> askForIntent_;
    AIService::Task intentTask_;
    qint64 intentSeq_ = 0; ///< number of the latest request; an answer to an older one is dropped
};

} // namespace corvid
