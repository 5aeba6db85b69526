#pragma once

#include "Base/Records.h"

#include <QAbstractListModel>
#include <QListView>
#include <QTimer>

#include <vector>

class QPropertyAnimation;

namespace corvid {

/** The rows of the result list for the view; a row's ResultItem is its whole data. */
class ResultListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void setRows(const std::vector<ResultItem> &rows);
    void setRow(int row, const ResultItem &item);
    const ResultItem &row(const QModelIndex &index) const {
        return rows_[static_cast<std::size_t>(index.row())];
    }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    std::vector<ResultItem> rows_;
};

/** The scrolling list of rows. A row is chosen by a click, which clicked() tells; neither hovering
    nor a drag selects or scrolls. A row that an end of the list cuts fades towards it. A press
    beside the rows is left to what the list stands on. */
class ResultList final : public QListView {
    Q_OBJECT

public:
    explicit ResultList(QWidget *parent = nullptr);

    void setRows(const std::vector<ResultItem> &rows, int selected);
    /** Puts what has arrived for a row into its place; nothing scrolls. */
    void setRow(int row, const ResultItem &item) { model_.setRow(row, item); }
    /** Highlights a row and scrolls just as far as makes it visible. */
    void select(int row);

    /** As many as fit, one at least. */
    int wholeRows() const;
    /** Says that the highlighted row's path was copied, on it, for a moment. */
    void confirmCopy();
    /** Whether that is said on this row. */
    bool saysCopied(int row) const { return row == copied_; }

    void dataChanged(const QModelIndex &first, const QModelIndex &last,
                     const QList<int> &roles = {}) override;

protected:
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void scrollIntoView(int row);
    void endCopied();

    ResultListModel model_;
    int copied_ = -1; ///< a row, or none
    QTimer copiedFor_;
    bool holdsRow_ = false; ///< the last press was on one
    QPropertyAnimation *scroll_;
};

} // namespace corvid
