#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/**
 * Appends to the rows that a search found what the query names besides, to nine rows in all: no
 * row here stands above one that was found by its name. Where nothing was found, room is left for
 * the two rows that are always offered then.
 */
void addFurtherRows(Rows &rows, const Query &query, const RowSources &from);

} // namespace corvid
