#pragma once

#include "AIService.h"
#include "Search/QueryRows.h"

#include <QTimer>

#include <functional>

namespace corvid {

/**
 * Asks the endpoint what a query means when typing has paused for 400 ms, and makes a row of it.
 * One query at a time. Main thread only. Every failure is no row.
 */
class IntentLookup {
public:
    /** `sources`: asked when the request is sent, and anew when the answer arrives, since the lists
        may change meanwhile. `onNamesSent`: called when names of applications and projects were
        sent. What is given outlives the lookup. */
    IntentLookup(AIService &ai, std::function<RowSources()> sources,
                 std::function<void()> onNamesSent);

    /** Replaces what was under way. `onRow` is called if the query names something here. */
    void ask(const QString &query, const std::function<void(const ResultItem &)> &onRow);
    void cancel();

private:
    AIService &ai_;
    const std::function<RowSources()> sources_;
    const std::function<void()> onNamesSent_;
    QTimer pauseInTyping_;
    AIService::Task intent_;
};

} // namespace corvid
