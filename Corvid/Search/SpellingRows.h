#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/**
 * The applications and projects with a name that a query of four letters and more probably means:
 * accents aside, and with one letter wrong, missing, added or two neighbours swapped in one of its
 * words. A last try, for where nothing else was found.
 */
Rows spellingRows(const Query &query, const RowSources &from);

} // namespace corvid
