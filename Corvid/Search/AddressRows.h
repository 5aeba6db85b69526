#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/** The file or folder whose path the query is, if it is there, else the web address that it is; no
    row for anything else. */
Rows addressRows(const Query &query, const RowSources &from);

} // namespace corvid
