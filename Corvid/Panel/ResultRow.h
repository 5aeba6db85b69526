#pragma once

#include "Base/Records.h"

#include <QFont>
#include <QStyledItemDelegate>

#include <map>
#include <memory>

class QSvgRenderer;

namespace corvid {

/** Draws one row of a ResultList: icon, running dot, title over subtitle, badge. */
class ResultRow final : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit ResultRow(QObject *parent = nullptr);
    ~ResultRow() override;

    /** Takes over changed fonts. */
    void applyStyle();

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    QSvgRenderer *renderer(const QString &symbol) const;

    QFont titleFont_;
    QFont subtitleFont_;
    QFont badgeFont_;
    mutable std::map<QString, std::unique_ptr<QSvgRenderer>> symbols_;
};

} // namespace corvid
