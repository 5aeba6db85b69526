#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/**
 * The row that was just forgotten: what was learnt about it is gone from the tables, the row says
 * so and offers to put it back. There is at most one. Main thread only. Nothing here fails.
 */
class ForgottenRow {
public:
    /** The tables must outlive this. */
    explicit ForgottenRow(UsageStats &stats) : stats_(stats) {}

    /** Forgets what was learnt about a row under a usage key, and that it was chosen for the query.
        An earlier row can be put back no more. Nothing happens to the one that is this row. */
    void forget(const ResultItem &row, const QString &key, const QString &query);
    /** Puts it back. False, and the row stays forgotten, where there is nothing to put back. */
    bool undo();
    /** Takes the offer away. False where there was none. */
    bool end();

    /** Has the row say so, where it is among these. */
    void mark(Rows &rows) const;

private:
    struct Offer {
        QString rowId;
        UsageStats::Forgotten forgotten;
    };

    UsageStats &stats_;
    std::optional<Offer> offer_;
};

} // namespace corvid
