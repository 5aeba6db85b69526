#pragma once

#include <QStyledItemDelegate>

namespace corvid {

/** Draws one row of a ResultList: icon, running dot, title over subtitle, badge. */
class ResultRow final : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

} // namespace corvid
