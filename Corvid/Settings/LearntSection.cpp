#include "Settings/LearntSection.h"

#include "UsageStats.h"

#include <QPushButton>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

LearntSection::LearntSection(UsageStats &stats)
    : FormSection(u"Learnt from use"_s), stats_(stats), amount_(new QLabel),
      ask_(makeButton(u"Forget what was &learnt…"_s)), forget_(makeButton(u"Forget"_s)),
      keep_(makeButton(u"Keep"_s)) {
    amount_->setTextFormat(Qt::PlainText);
    amount_->setWordWrap(true);
    addRow(makeRow({amount_, forget_, keep_, ask_}));
    connect(ask_, &QPushButton::clicked, this, [this] {
        showAmount(Asking::Yes);
        keep_->setFocus(); // a key that is pressed twice forgets nothing
    });
    connect(forget_, &QPushButton::clicked, this, [this] {
        stats_.forgetAll();
        showAmount(Asking::No);
    });
    connect(keep_, &QPushButton::clicked, this, [this] {
        showAmount(Asking::No);
        ask_->setFocus();
    });
}

void LearntSection::load() {
    showAmount(Asking::No);
}

void LearntSection::showAmount(Asking asking) {
    const QString amount = stats_.amount();
    const bool asks = asking == Asking::Yes;
    if (asks)
        amount_->setText(u"Forget %1?"_s.arg(amount));
    else
        amount_->setText(amount.isEmpty() ? u"Nothing yet"_s : amount);
    ask_->setEnabled(!amount.isEmpty());
    ask_->setVisible(!asks);
    forget_->setVisible(asks);
    keep_->setVisible(asks);
}

} // namespace corvid
