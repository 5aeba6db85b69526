#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/** The commands to the session that a query names and that can be carried out: by one of their
    names, or by three letters and more that one begins with. */
Rows sessionRows(const Query &query, const RowSources &from);

/** What is asked in the place of a row's title before its action is carried out; absent for what
    is done at once. */
std::optional<QString> questionBefore(const LauncherAction &action);

/** Puts the question in the place of the selected row's title if that is the row which was asked
    about, as it is without it; forgets that one otherwise. */
void placeQuestion(Rows &rows, int selected, std::optional<ResultItem> &asked);

} // namespace corvid
