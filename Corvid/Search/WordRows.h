#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/**
 * The applications and projects whose names, generic names and keywords hold every word of the
 * query, in any order: whole, or its first three letters and more. Those with whole words come
 * first, then those that are named so before those that are only described so, then those launched
 * more often, then those with the shorter name or of which the description says it earlier.
 */
Rows wordRows(const Query &query, const RowSources &from);

} // namespace corvid
