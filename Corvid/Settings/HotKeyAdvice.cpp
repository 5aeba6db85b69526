#include "Settings/HotKeyAdvice.h"

#include "Settings/FormWidgets.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPushButton>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QString inMidSentence(QString sentence) {
    sentence.front() = sentence.front().toLower();
    return sentence;
}

} // namespace

HotKeyAdvice::HotKeyAdvice(QWidget *parent)
    : QWidget(parent), reason_(makeCaption()), line_(makeCaption()), copy_(makeButton(u"&Copy"_s)),
      takeFree_(makeButton({})) {
    line_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSizeF(line_->font().pointSizeF());
    line_->setFont(fixed);
    connect(copy_, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(help_.line); });
    connect(takeFree_, &QPushButton::clicked, this, [this] { Q_EMIT wanted(*help_.free); });

    auto *parts = new QVBoxLayout(this);
    parts->setContentsMargins(0, 0, 0, 0);
    parts->setSpacing(rowPaddingY);
    parts->addWidget(reason_);
    parts->addWidget(line_);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(takeFree_);
    buttons->addStretch();
    buttons->addWidget(copy_);
    parts->addLayout(buttons);
    say({});
}

void HotKeyAdvice::say(const HotKeyHelp &help) {
    help_ = help;
    setCaption(reason_, help.mayTryAnother ? help.why + u" Try another combination here, or "_s +
                                                 inMidSentence(help.remedy)
                                           : help.why + u' ' + help.remedy);
    setCaption(line_, help.line);
    line_->setHidden(help.line.isEmpty());
    copy_->setHidden(help.line.isEmpty());
    takeFree_->setText(u"Use %1"_s.arg(help.freeName));
    takeFree_->setVisible(help.free.has_value());
    setHidden(help.why.isEmpty());
}

} // namespace corvid
