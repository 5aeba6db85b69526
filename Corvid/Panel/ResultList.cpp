#include "Panel/ResultList.h"

#include "Base/Text.h"
#include "Panel/ResultRow.h"
#include "Panel/Style.h"

#include <QAccessible>
#include <QMouseEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScrollBar>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

void ResultListModel::setRows(const std::vector<ResultItem> &rows) {
    beginResetModel();
    rows_ = rows;
    endResetModel();
}

void ResultListModel::setIcon(int row, const Image &icon) {
    rows_[static_cast<std::size_t>(row)].icon = icon;
    Q_EMIT dataChanged(index(row), index(row), {Qt::DecorationRole});
}

int ResultListModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant ResultListModel::data(const QModelIndex &index, int role) const {
    const ResultItem &item = row(index);
    switch (role) {
    case Qt::DisplayRole:
        return displayLine(item.title);
    case Qt::AccessibleTextRole:
        return displayLine(item.badge.isEmpty() ? item.title : item.title + u", "_s + item.badge);
    case Qt::AccessibleDescriptionRole:
        return displayLine(item.subtitle);
    default:
        return {};
    }
}

ResultList::ResultList(QWidget *parent)
    : QListView(parent), scroll_(new QPropertyAnimation(verticalScrollBar(), "value", this)) {
    setModel(&model_);
    setItemDelegate(new ResultRow(this));
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setVerticalScrollMode(ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSelectionMode(SingleSelection);
    setAutoScroll(false);
    viewport()->setAutoFillBackground(false);
    setAccessibleName(u"Results"_s);

    scroll_->setDuration(style::scrollMilliseconds);
    scroll_->setEasingCurve(QEasingCurve::OutQuad);
}

void ResultList::setRows(const std::vector<ResultItem> &rows, int selected) {
    model_.setRows(rows);
    select(selected);
}

void ResultList::select(int row) {
    const QModelIndex index = model_.index(row, 0);
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    if (!index.isValid())
        return;
    scrollIntoView(row);
    // The focus stays in the search field, so nothing else tells a screen reader.
    if (QAccessible::isActive()) {
        QAccessibleEvent chosen(this, QAccessible::Selection);
        chosen.setChild(row);
        QAccessible::updateAccessibility(&chosen);
    }
}

void ResultList::scrollIntoView(int row) {
    // Until the window has its layout the view has no height to scroll in.
    executeDelayedItemsLayout();
    const int top = row * style::rowHeight;
    const int bottom = top + style::rowHeight;
    const int shown = viewport()->height();
    const int from = verticalScrollBar()->value();
    const int to = std::clamp(from, std::min(bottom - shown, top), top);
    if (scroll_->state() == QAbstractAnimation::Running && scroll_->endValue().toInt() == to)
        return;
    scroll_->stop();
    if (from == to)
        return;
    if (!style::appearance().motion) {
        verticalScrollBar()->setValue(to);
        return;
    }
    scroll_->setEndValue(to);
    scroll_->start();
}

void ResultList::mousePressEvent(QMouseEvent *event) {
    pressedRow_ =
        event->button() == Qt::LeftButton ? indexAt(event->position().toPoint()).row() : -1;
}

void ResultList::mouseMoveEvent(QMouseEvent * /*event*/) {
    // A drag neither selects nor scrolls.
}

void ResultList::mouseReleaseEvent(QMouseEvent *event) {
    const int row = indexAt(event->position().toPoint()).row();
    if (event->button() == Qt::LeftButton && row >= 0 && row == pressedRow_)
        Q_EMIT rowClicked(row);
    pressedRow_ = -1;
}

void ResultList::mouseDoubleClickEvent(QMouseEvent * /*event*/) {
    // The first click has chosen the row already.
}

void ResultList::paintEvent(QPaintEvent *event) {
    QListView::paintEvent(event);
    if (model_.rowCount() > 0)
        return;
    QPainter painter(viewport());
    painter.setFont(style::sized(font(), style::titleFontSize));
    painter.setPen(style::secondary());
    painter.drawText(viewport()->rect().adjusted(0, style::listInset, 0, 0),
                     Qt::AlignHCenter | Qt::AlignTop, u"No matches"_s);
}

} // namespace corvid
