#include "Panel/RowStrip.h"

#include "Panel/ResultList.h"
#include "Panel/Style.h"

#include <QBoxLayout>
#include <QPainter>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int lineWidth = 1;

} // namespace

RowStrip::RowStrip(QWidget *parent) : QWidget(parent), list_(new ResultList(this)) {
    list_->setAccessibleName(u"Return opens"_s);
    list_->setFixedHeight(style::rowHeight);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(style::listInset, lineWidth + style::stripPaddingY, style::listInset,
                               style::stripPaddingY);
    layout->addWidget(list_);
    connect(list_, &ResultList::clicked, this, &RowStrip::clicked);
    hide();
}

void RowStrip::showRow(const ResultItem *row) {
    setVisible(row);
    if (!row) {
        id_.clear();
        return;
    }
    const bool isSame = std::exchange(id_, row->id) == row->id;
    if (std::exchange(title_, row->title) == row->title && isSame)
        list_->setRow(0, *row); // a screen reader need not say it again
    else
        list_->setRows({*row}, 0);
}

void RowStrip::paintEvent(QPaintEvent * /*event*/) {
    QPainter(this).fillRect(0, 0, width(), lineWidth, style::divider());
}

} // namespace corvid
