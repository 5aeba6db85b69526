// The view model's use of the AI endpoint: what a query means, and answers to questions.

#include "LauncherViewModel.h"

#include "AIService.h"
#include "AppCatalog.h"
#include "Base/Locations.h"
#include "Base/Text.h"
#include "ProjectIndex.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto debounce = std::chrono::milliseconds(400);

template <typename Entry>
QStringList namesOf(const std::vector<Entry> &entries) {
    QStringList names;
    names.reserve(static_cast<qsizetype>(entries.size()));
    for (const Entry &entry : entries)
        names.append(entry.name);
    return names;
}

template <typename Entry>
const Entry *named(const std::vector<Entry> &entries, const QString &name) {
    const auto found = std::ranges::find(entries, name, &Entry::name);
    return found == entries.end() ? nullptr : &*found;
}

} // namespace

void LauncherViewModel::cancelIntent() {
    intentDebounce_.stop();
    intentTask_.cancel();
}

void LauncherViewModel::fetchIntent(const QString &query, const Rows &baseItems) {
    cancelIntent();
    if (!catalog || !projects)
        return;
    const qint64 number = ++intentSeq_;
    askForIntent_ = [this, number, query, baseItems] {
        QStringList editors;
        for (const AppEntry &app : catalog->apps())
            if (app.roles.contains("code-editor"_L1))
                editors.append(app.name);
        intentTask_ = environment_.ai.intent(
            query, namesOf(catalog->apps()), namesOf(projects->projects()), editors,
            [this, number, query, baseItems](const std::optional<Intent> &intent) {
                if (intent && number == intentSeq_)
                    applyIntent(*intent, query, baseItems);
            });
    };
    intentDebounce_.start(debounce);
}

void LauncherViewModel::applyIntent(const Intent &intent, const QString &query,
                                    const Rows &baseItems) {
    Rows rows;
    if (intent.action == "open_app"_L1) {
        if (const AppEntry *app = named(catalog->apps(), intent.app)) {
            rows.push_back({u"ai-intent-app"_s, catalog->icon(*app), u"Open "_s + app->name,
                            u"AI understood: "_s + query, u"AI"_s, OpenApp{*app}});
        }
    } else if (intent.action == "open_project"_L1) {
        if (const ProjectEntry *project = named(projects->projects(), intent.project)) {
            const AppEntry *editor = named(catalog->apps(), intent.editor);
            const QString with = editor ? editor->name : u"default editor"_s;
            const QString home = locations::home();
            rows.push_back({u"ai-intent-proj"_s, catalog->iconForPath(home),
                            u"Open "_s + project->name + u" in "_s + with,
                            QString(project->path).replace(home, u"~"_s), u"AI"_s,
                            OpenProject{*project, editor ? std::optional(*editor) : std::nullopt}});
        }
    }
    if (rows.empty())
        return;
    rows.insert(rows.end(), baseItems.begin(), baseItems.end());
    results_ = std::move(rows);
    Q_EMIT resultsChanged();
    flushDisplay();
}

void LauncherViewModel::askAI(const QString &question) {
    // The list is out of sight from here on: no row may come to stand under the selection.
    cancelIntent();
    setAiMode(true);
    setAiBusy(true);
    setAiQuestion(question);
    setAiResponse(QString());
    // An answer that is still coming goes on coming, though its handle is replaced.
    std::erase_if(replacedTasks_, [](const AIService::Task &task) { return !task.active(); });
    if (aiTask_.active())
        replacedTasks_.push_back(std::move(aiTask_));
    aiTask_ = environment_.ai.stream(
        question, [this](const QString &element) { appendToAnswer(displayText(element)); },
        [this](const std::optional<QString> &error) {
            if (error) {
                setAiResponse(u"Error: "_s + displayText(*error) +
                              u"\n\nSet your API key in Settings (menu bar icon)."_s);
            }
            setAiBusy(false);
        });
}

// In place: a long answer is not copied for every word of it.
void LauncherViewModel::appendToAnswer(const QString &text) {
    if (text.isEmpty())
        return;
    aiResponse_ += text;
    Q_EMIT aiResponseChanged();
}

void LauncherViewModel::cancelAnswers() {
    aiTask_.cancel();
    replacedTasks_.clear();
}

void LauncherViewModel::copyAnswer(const QString &part) {
    const QString &text = part.isEmpty() ? aiResponse_ : part;
    if (!text.isEmpty() && onAction)
        onAction(CopyAI{text});
}

} // namespace corvid
