#pragma once

#include "Model/RowList.h"

namespace corvid {

/** The row that Return carries out for a query. Null where it does nothing, and where it asks the
    question that was typed. */
const ResultItem *chosenRow(const Query &query, const RowList &list);

/** The key under which what was learnt about a row counts; absent where nothing is. What the
    endpoint understood of a question counts for what it opens. */
std::optional<QString> usageKeyOf(const Query &query, const ResultItem &row);

/** Learns that a row was chosen for a query. */
void recordChoice(UsageStats &stats, const Query &query, const ResultItem &row);

} // namespace corvid
