#pragma once

#include "Chat/ChatProtocol.h"
#include "Search/QueryRows.h"

namespace corvid {

/** The row for what the endpoint made of a query; absent when that names nothing here. */
std::optional<ResultItem> intentRow(const Intent &intent, const QString &query,
                                    const RowSources &from);

} // namespace corvid
