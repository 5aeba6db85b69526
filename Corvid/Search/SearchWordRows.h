#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/** A search at the site whose word the query begins with, for all that follows the word. */
Rows searchWordRows(const Query &query, const RowSources &from);

/** The address of a search, of the form that settings::isSearchAddress() accepts, for a text. */
QString addressOfSearch(const QString &address, const QString &text);

} // namespace corvid
