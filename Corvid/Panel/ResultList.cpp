#include "Panel/ResultList.h"

#include "Base/Text.h"
#include "Panel/FadingRow.h"
#include "Panel/RowPainting.h"
#include "Panel/Style.h"

#include <QAccessible>
#include <QMouseEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

/** Draws one row: icon, running dot, title over subtitle, badge. */
class RowDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem & /*option*/,
                   const QModelIndex & /*index*/) const override {
        return {style::panelWidth - 2 * style::listInset, style::rowHeight};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override {
        const auto &list = *static_cast<const ResultList *>(option.widget);
        const ResultItem &item = static_cast<const ResultListModel *>(index.model())->row(index);
        const auto paint = [&](QPainter &to) {
            painter_.paint(to, option, item, list.saysCopied(index.row()));
        };
        const QRect shown = list.viewport()->rect();
        if (option.rect.top() >= shown.top() && option.rect.bottom() <= shown.bottom()) {
            painter->save();
            paint(*painter);
            painter->restore();
        } else {
            paintFading(*painter, option.rect, shown, paint);
        }
    }

private:
    mutable RowPainter painter_;
};

} // namespace

// What stays as it is need not be painted again, which is most of the work of a letter.
void ResultListModel::setRows(const std::vector<ResultItem> &rows) {
    if (rows.size() == rows_.size()) {
        for (int row = 0; row < rowCount(); ++row)
            if (const ResultItem &item = rows[static_cast<std::size_t>(row)];
                rows_[static_cast<std::size_t>(row)] != item)
                setRow(row, item);
        return;
    }
    beginResetModel();
    rows_ = rows;
    endResetModel();
}

void ResultListModel::setRow(int row, const ResultItem &item) {
    rows_[static_cast<std::size_t>(row)] = item;
    Q_EMIT dataChanged(index(row), index(row));
}

int ResultListModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant ResultListModel::data(const QModelIndex &index, int role) const {
    const ResultItem &item = row(index);
    switch (role) {
    case Qt::DisplayRole:
        return displayLine(item.title);
    case Qt::AccessibleTextRole: {
        QStringList parts{item.title, item.badge};
        if (item.running)
            parts.append(u"running"_s);
        parts.removeAll(QString());
        return displayLine(parts.join(u", "_s));
    }
    case Qt::AccessibleDescriptionRole:
        return displayLine(item.branch.isEmpty() ? item.subtitle
                                                 : item.subtitle + u", branch "_s + item.branch);
    default:
        return {};
    }
}

ResultList::ResultList(QWidget *parent)
    : QListView(parent), scroll_(new QPropertyAnimation(verticalScrollBar(), "value", this)) {
    setModel(&model_);
    setItemDelegate(new RowDelegate(this));
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setVerticalScrollMode(ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSelectionMode(NoSelection); // by the mouse, that is: select() does it
    setAutoScroll(false);
    viewport()->setAutoFillBackground(false);
    viewport()->setAttribute(Qt::WA_Hover);
    setAccessibleName(u"Results"_s);

    scroll_->setEasingCurve(QEasingCurve::OutQuad);
    copiedFor_.setSingleShot(true);
    connect(&copiedFor_, &QTimer::timeout, this, &ResultList::endCopied);
}

void ResultList::setRows(const std::vector<ResultItem> &rows, int selected) {
    endCopied();
    model_.setRows(rows);
    select(selected);
}

int ResultList::wholeRows() const {
    return std::max(1, viewport()->height() / style::rowHeight);
}

// QListView's own would lay out all rows anew, and they are all of one size.
void ResultList::dataChanged(const QModelIndex &first, const QModelIndex &last,
                             const QList<int> &roles) {
    // NOLINTNEXTLINE(bugprone-parent-virtual-call)
    QAbstractItemView::dataChanged(first, last, roles);
}

// At these, Qt would paint all rows anew. They look the same with the keyboard and without, and the
// view itself paints the one row that the pointer comes to.
bool ResultList::viewportEvent(QEvent *event) {
    switch (event->type()) {
    case QEvent::WindowActivate:
    case QEvent::WindowDeactivate:
        return true;
    case QEvent::HoverEnter:
    case QEvent::HoverLeave:
        QListView::viewportEvent(event);
        return true;
    default:
        return QListView::viewportEvent(event);
    }
}

void ResultList::confirmCopy() {
    copied_ = currentIndex().row();
    copiedFor_.start(style::copiedFor);
    viewport()->update();
}

void ResultList::endCopied() {
    copiedFor_.stop();
    if (std::exchange(copied_, -1) >= 0)
        viewport()->update();
}

void ResultList::mousePressEvent(QMouseEvent *event) {
    QListView::mousePressEvent(event);
    holdsRow_ = indexAt(event->position().toPoint()).isValid();
    event->setAccepted(holdsRow_);
}

void ResultList::mouseMoveEvent(QMouseEvent *event) {
    QListView::mouseMoveEvent(event);
    event->setAccepted(holdsRow_);
}

void ResultList::mouseReleaseEvent(QMouseEvent *event) {
    QListView::mouseReleaseEvent(event);
    event->setAccepted(holdsRow_);
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
    scroll_->setDuration(style::appearance().motion ? 80 : 0);
    scroll_->setEndValue(to);
    if (from != to)
        scroll_->start();
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
