#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/** For the query that opens the last project: the row that says which one Return opens, and in
    which editor. None for other queries, and before a project was opened in an editor. */
Rows lastProjectRows(const Query &query, const RowSources &from);

} // namespace corvid
