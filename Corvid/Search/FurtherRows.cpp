#include "Search/FurtherRows.h"

#include "Search/ActionRows.h"
#include "Search/AddressRows.h"
#include "Search/LastProjectRow.h"
#include "Search/SearchWordRows.h"
#include "Search/SessionRows.h"
#include "Search/SpellingRows.h"
#include "Search/WordRows.h"

#include <algorithm>
#include <iterator>

namespace corvid {

namespace {

using Source = Rows (*)(const Query &query, const RowSources &from);

// In the order in which their rows stand. Each names what it finds by its first whole words, and
// returns nothing quickly for a query that names nothing of its own.
const std::vector<Source> sources{
    lastProjectRows, addressRows, searchWordRows, sessionRows, actionRows, wordRows,
};

} // namespace

void addFurtherRows(Rows &rows, const Query &query, const RowSources &from) {
    constexpr std::size_t fallbacks = 2;
    const std::size_t most = rows.empty() ? mostSearchRows - fallbacks : mostSearchRows;
    const auto add = [&](Source source) {
        if (rows.size() >= most)
            return;
        for (ResultItem &row : source(query, from)) {
            const bool isListed = std::ranges::find(rows, row.id, &ResultItem::id) != rows.end();
            if (!isListed && rows.size() < most)
                rows.push_back(std::move(row));
        }
    };
    std::ranges::for_each(sources, add);
    if (rows.empty())
        add(spellingRows);
}

} // namespace corvid
