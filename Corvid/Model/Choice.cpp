#include "Model/Choice.h"

#include "UsageStats.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

const ResultItem *chosenRow(const Query &query, const RowList &list) {
    const ResultItem *row = list.selectedRow();
    if (query.kind == Query::Kind::Ask)
        return row && !query.object.isEmpty() && row->id != "ai-ask"_L1 ? row : nullptr;
    if (query.kind != Query::Kind::LastProject)
        return row;
    const auto last = std::ranges::find_if(list.rows(), [](const ResultItem &other) {
        return std::holds_alternative<OpenLastProject>(other.action);
    });
    return last == list.rows().end() ? nullptr : &*last;
}

std::optional<QString> usageKeyOf(const Query &query, const ResultItem &row) {
    if (query.kind != Query::Kind::Ask)
        return row.id;
    if (const auto *app = std::get_if<OpenApp>(&row.action))
        return usageKey(app->app);
    if (const auto *project = std::get_if<OpenProject>(&row.action))
        return usageKey(project->project);
    return std::nullopt;
}

void recordChoice(UsageStats &stats, const Query &query, const ResultItem &row) {
    stats.recordLaunch(usageKeyOf(query, row));
    if (query.kind != Query::Kind::Ask) // a question is not latched
        stats.recordLatch(query.text, row.id);
}

} // namespace corvid
