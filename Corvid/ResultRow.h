#pragma once

#include "Records.h"

#include <QStyledItemDelegate>

namespace corvid {

/** Draws one row of a ResultList: icon, running dot, title over subtitle, badge. */
class ResultRow final : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit ResultRow(QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    QFont titleFont_;
    QFont subtitleFont_;
    QFont badgeFont_;
};

} // namespace corvid
