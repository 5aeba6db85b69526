#include "Chat/IntentLookup.h"

#include "Chat/IntentRow.h"

#include <utility>

namespace corvid {

namespace {

template <typename Entry>
QStringList namesOf(const std::vector<Entry> &entries) {
    QStringList names;
    for (const Entry &entry : entries)
        names.append(entry.name);
    return names;
}

} // namespace

IntentLookup::IntentLookup(AIService &ai, std::function<RowSources()> sources,
                           std::function<void()> onNamesSent)
    : ai_(ai), sources_(std::move(sources)), onNamesSent_(std::move(onNamesSent)) {
    pauseInTyping_.setSingleShot(true);
    pauseInTyping_.setInterval(400);
    // Any other timer may fire early, and ask for a text that is still being typed.
    pauseInTyping_.setTimerType(Qt::PreciseTimer);
}

void IntentLookup::ask(const QString &query, const std::function<void(const ResultItem &)> &onRow) {
    cancel();
    const auto onIntent = [=, this](const std::optional<Intent> &intent) {
        if (const auto row = intent ? intentRow(*intent, query, sources_()) : std::nullopt)
            onRow(*row);
    };
    pauseInTyping_.disconnect();
    pauseInTyping_.callOnTimeout([=, this] {
        const RowSources from = sources_();
        QStringList editors;
        for (const std::size_t index : from.codeEditors())
            editors.append(from.apps[index].name);
        intent_ = ai_.intent(query, namesOf(from.apps), namesOf(from.projects), editors, onIntent);
        onNamesSent_();
    });
    pauseInTyping_.start();
}

void IntentLookup::cancel() {
    pauseInTyping_.stop();
    intent_.cancel();
}

} // namespace corvid
