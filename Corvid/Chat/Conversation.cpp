#include "Chat/Conversation.h"

#include "Base/Locations.h"
#include "Base/Text.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto pauseInTyping = std::chrono::milliseconds(400);

template <typename Entry>
QStringList namesOf(const std::vector<Entry> &entries) {
    QStringList names;
    names.reserve(static_cast<qsizetype>(entries.size()));
    for (const Entry &entry : entries)
        names.append(entry.name);
    return names;
}

template <typename Entry>
std::optional<Entry> entryNamed(const std::vector<Entry> &entries, const QString &name) {
    const auto found = std::ranges::find(entries, name, &Entry::name);
    return found == entries.end() ? std::nullopt : std::optional(*found);
}

} // namespace

Conversation::Conversation(AIService &service) : service_(service) {
    pause_.setSingleShot(true);
    // Any other timer may fire early, and ask for a text that is still being typed.
    pause_.setTimerType(Qt::PreciseTimer);
    connect(&pause_, &QTimer::timeout, this, [this] { afterPause_(); });
}

void Conversation::ask(const QString &question) {
    setBusy(true);
    setQuestion(question);
    setAnswer(QString());
    std::erase_if(answers_, [](const AIService::Task &task) { return !task.active(); });
    answers_.push_back(service_.stream(
        question,
        [this](const QString &element) {
            const QString text = displayText(element);
            if (text.isEmpty())
                return;
            // In place: a long answer is not copied for every word of it.
            answer_ += text;
            Q_EMIT answerChanged();
        },
        [this](const std::optional<QString> &error) {
            if (error) {
                setAnswer(u"Error: "_s + displayText(*error) +
                          u"\n\nSet your API key in Settings (menu bar icon)."_s);
            }
            setBusy(false);
        }));
}

void Conversation::end() {
    answers_.clear();
    setBusy(false);
    setAnswer(QString());
}

void Conversation::understand(const QString &query, const std::function<RowSources()> &sources,
                              const std::function<void(const ResultItem &)> &done) {
    cancelUnderstanding();
    const auto onIntent = [=](const std::optional<Intent> &intent) {
        if (const auto row = intent ? intentRow(*intent, query, sources()) : std::nullopt)
            done(*row);
    };
    afterPause_ = [=, this] {
        const RowSources from = sources();
        QStringList editors;
        for (const std::size_t index : from.codeEditors())
            editors.append(from.apps[index].name);
        understanding_ =
            service_.intent(query, namesOf(from.apps), namesOf(from.projects), editors, onIntent);
    };
    pause_.start(pauseInTyping);
}

void Conversation::cancelUnderstanding() {
    pause_.stop();
    understanding_.cancel();
}

std::optional<ResultItem> intentRow(const Intent &intent, const QString &query,
                                    const RowSources &from) {
    ResultItem row;
    if (const auto app = entryNamed(from.apps, intent.app); app && intent.action == "open_app"_L1) {
        row = {u"ai-intent-app"_s,
               from.icon(app->path),
               u"Open "_s + app->name,
               u"AI understood: "_s + query,
               u"AI"_s,
               OpenApp{*app}};
    } else if (const auto project = entryNamed(from.projects, intent.project);
               project && intent.action == "open_project"_L1) {
        const auto editor = entryNamed(from.apps, intent.editor);
        row = {u"ai-intent-proj"_s,
               from.icon(locations::home()),
               u"Open "_s + project->name + u" in "_s +
                   (editor ? editor->name : u"default editor"_s),
               QString(project->path).replace(locations::home(), u"~"_s),
               u"AI"_s,
               OpenProject{*project, editor}};
    } else {
        return std::nullopt;
    }
    return row;
}

} // namespace corvid
