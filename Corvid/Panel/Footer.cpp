#include "Panel/Footer.h"

#include "Panel/Style.h"

#include <QBoxLayout>
#include <QLabel>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QLabel *makeFooterLabel(const QString &text = {}) {
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFont(style::sized(QFont(), 11));
    return label;
}

} // namespace

Footer::Footer(QWidget *parent)
    : QWidget(parent), status_(makeFooterLabel()), hint_(makeFooterLabel()) {
    hint_->hide();
    hint_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(style::barPaddingX, style::footerPaddingY, style::barPaddingX,
                             style::footerPaddingY);
    line->addWidget(status_);
    line->addWidget(hint_, 1);
    line->addStretch();
    line->addWidget(makeFooterLabel(u"Corvid"_s));
}

void Footer::setStatus(const QString &text) {
    status_->setText(text);
}

void Footer::setHint(const QString &text) {
    hint_->setText(u"·  "_s + text);
    hint_->setVisible(!text.isEmpty());
}

} // namespace corvid
