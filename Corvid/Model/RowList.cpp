#include "Model/RowList.h"

#include "Search/SessionRows.h"

#include <algorithm>
#include <utility>

namespace corvid {

const ResultItem *RowList::selectedRow() const {
    const bool valid = selected_ >= 0 && selected_ < static_cast<int>(rows_.size());
    return valid ? &rows_[static_cast<std::size_t>(selected_)] : nullptr;
}

void RowList::publish(Rows rows, int selected) {
    forgotten_.mark(rows);
    rows_ = std::move(rows);
    // Together with the rows: whoever shows them shall not see another one selected in between.
    const bool moves = std::exchange(selected_, selected) != selected;
    placeQuestion(rows_, selected_, questioned_);
    Q_EMIT rowsChanged();
    if (moves)
        Q_EMIT selectedChanged();
    QMetaObject::invokeMethod(this, &RowList::flushRequested, Qt::QueuedConnection);
    const int last = static_cast<int>(rows_.size()) - 1;
    select(rows_.empty() ? 0 : std::min(selected_, last));
}

void RowList::select(int index) {
    if (index == selected_)
        return;
    withdrawQuestion();
    selected_ = index;
    Q_EMIT selectedChanged();
}

void RowList::move(int delta) {
    if (rows_.empty())
        return;
    const int count = static_cast<int>(rows_.size());
    select((selected_ + delta % count + count) % count);
}

void RowList::selectNearest(int row) {
    if (!rows_.empty())
        select(std::clamp(row, 0, static_cast<int>(rows_.size()) - 1));
}

bool RowList::askBefore(const ResultItem &row) {
    if (!questionBefore(row.action))
        return false;
    if (questioned_ && questioned_->id == row.id) {
        withdrawQuestion();
        return false;
    }
    questioned_ = row;
    publish(rows_, selected_);
    return true;
}

void RowList::withdrawQuestion() {
    const std::optional<ResultItem> row = std::exchange(questioned_, std::nullopt);
    if (!row)
        return;
    Rows rows = rows_;
    std::ranges::replace_if(
        rows, [&row](const ResultItem &other) { return other.id == row->id; }, *row);
    publish(std::move(rows), selected_);
}

void RowList::forget(const QString &key, const QString &query) {
    const ResultItem *row = selectedRow();
    if (!row)
        return;
    forgotten_.forget(*row, key, query);
    publish(rows_, selected_);
}

void RowList::settle() {
    questioned_.reset();
    forgotten_.end();
}

void RowList::updateIcon(const QString &path, const Image &icon) {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (!rows_[i].icon || iconPathOf(rows_[i].action) != path)
            continue;
        rows_[i].icon = icon;
        Q_EMIT rowChanged(static_cast<int>(i));
    }
}

void RowList::updateBranch(const QString &projectPath, const QString &branch) {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const auto *open = std::get_if<OpenProject>(&rows_[i].action);
        if (!open || open->project.path != projectPath)
            continue;
        rows_[i].branch = branch;
        Q_EMIT rowChanged(static_cast<int>(i));
    }
}

} // namespace corvid
