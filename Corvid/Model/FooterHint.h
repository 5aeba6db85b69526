#pragma once

#include "Search/QueryRows.h"

#include <optional>

namespace corvid {

/** What the footer tells beside its status. */
struct FooterHint {
    const Query &query;
    const ResultItem *selected;    ///< may be null
    bool namesJustSent;            ///< for the first time ever, while this question is typed
    bool answering;                ///< an answer is shown
    bool busy;                     ///< it is still coming
    bool choosesRows;              ///< the arrow keys choose one of several rows
    std::optional<int> turnsAlong; ///< as Conversation says

    /** Empty mostly. */
    QString text() const;
};

} // namespace corvid
