#pragma once

#include "Base/Records.h"

#include <QAbstractListModel>
#include <QListView>

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
    nor a drag selects or scrolls. */
class ResultList final : public QListView {
    Q_OBJECT

public:
    explicit ResultList(QWidget *parent = nullptr);

    void setRows(const std::vector<ResultItem> &rows, int selected);
    /** Puts what has arrived for a row into its place; nothing scrolls. */
    void setRow(int row, const ResultItem &item) { model_.setRow(row, item); }
    /** Highlights a row and scrolls just as far as makes it visible. */
    void select(int row);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void scrollIntoView(int row);

    ResultListModel model_;
    QPropertyAnimation *scroll_;
};

} // namespace corvid
