#pragma once

#include "Search/QueryRows.h"

namespace corvid {

/**
 * The actions of applications that a query names, see ActionIndex: the one chosen for this text
 * before, then by launches of the action and of its application, then in catalog order.
 */
Rows actionRows(const Query &query, const RowSources &from);

} // namespace corvid
