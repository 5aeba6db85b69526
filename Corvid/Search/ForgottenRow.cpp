#include "Search/ForgottenRow.h"

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

void ForgottenRow::forget(const ResultItem &row, const QString &key, const QString &query) {
    // A key that is held down repeats.
    if (offer_ && offer_->rowId == row.id)
        return;
    offer_ = {row.id, stats_.forget(query, key)};
}

bool ForgottenRow::undo() {
    if (!offer_ || offer_->forgotten.isNothing())
        return false;
    stats_.restore(offer_->forgotten);
    offer_.reset();
    return true;
}

bool ForgottenRow::end() {
    return std::exchange(offer_, std::nullopt).has_value();
}

void ForgottenRow::mark(Rows &rows) const {
    if (!offer_)
        return;
    const auto row = std::ranges::find(rows, offer_->rowId, &ResultItem::id);
    if (row != rows.end())
        row->subtitle = offer_->forgotten.isNothing() ? u"Nothing was learnt about this yet"_s
                                                      : u"Forgotten — Undo with Control+Z"_s;
}

} // namespace corvid
