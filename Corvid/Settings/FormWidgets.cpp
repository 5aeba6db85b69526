#include "Settings/FormWidgets.h"

#include "Panel/Style.h"

#include <QBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QStyle>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int cardRadius = 8;
constexpr int lineInset = 12;
constexpr int headingGap = 6;
constexpr int headingInset = 2;
constexpr qreal captionScale = 0.9;

/** Paints the card behind the rows, and a line between every two. */
class Card final : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent * /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(style::hairline(palette()));
        painter.setBrush(style::raised(palette()));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cardRadius,
                                cardRadius);
        painter.setRenderHint(QPainter::Antialiasing, false);
        for (int i = 1; i < layout()->count(); ++i) {
            const QRect row = layout()->itemAt(i)->geometry();
            painter.fillRect(row.left() + lineInset, row.top(), row.width() - 2 * lineInset, 1,
                             style::hairline(palette()));
        }
    }
};

} // namespace

FormSection::FormSection(const QString &heading, QWidget *parent) : QWidget(parent) {
    auto *label = new QLabel(heading);
    label->setContentsMargins(headingInset, 0, headingInset, 0);
    QFont bold;
    bold.setBold(true);
    label->setFont(bold);
    auto *card = new Card;
    card->setAccessibleName(heading);
    rows_ = new QVBoxLayout(card);
    rows_->setContentsMargins(0, 0, 0, 0);
    rows_->setSpacing(0);
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(headingGap);
    whole->addWidget(label);
    whole->addWidget(card);
}

void FormSection::addRow(QWidget *row, int before) {
    rows_->insertWidget(before, row);
    row->show(); // the layout would do it, but later, which flickers
}

QWidget *FormSection::row(int number) const {
    return rows_->itemAt(number)->widget();
}

void FormSection::removeRow(int number) {
    QWidget *gone = row(number);
    rows_->removeWidget(gone);
    gone->hide(); // or it would become a window that shows
    gone->setParent(nullptr);
    gone->deleteLater();
}

ElidedLabel::ElidedLabel(const QString &text, QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setText(text);
    setToolTip(text.toHtmlEscaped());
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
    style()->drawItemText(&painter, contentsRect(),
                          static_cast<int>(Qt::AlignLeading | Qt::AlignVCenter) |
                              Qt::TextSingleLine,
                          palette(), isEnabled(), shown, foregroundRole());
}

void PlaceholderLabel::setPlaceholder(const QString &text) {
    placeholder_ = text;
    update();
}

void PlaceholderLabel::paintEvent(QPaintEvent *event) {
    QLabel::paintEvent(event);
    if (!text().isEmpty())
        return;
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), Qt::AlignLeading | Qt::AlignVCenter, palette(),
                          isEnabled(), placeholder_, QPalette::PlaceholderText);
}

QWidget *makeRow(std::initializer_list<QWidget *> children) {
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(rowPaddingX, rowPaddingY, rowPaddingX, rowPaddingY);
    layout->setSpacing(labelGap);
    for (QWidget *child : children)
        layout->addWidget(child, qobject_cast<QLabel *>(child) ? 1 : 0);
    return row;
}

QWidget *makeRowOver(QWidget *below, std::initializer_list<QWidget *> children) {
    below->setContentsMargins(rowPaddingX, 0, rowPaddingX, rowPaddingY);
    auto *both = new QWidget;
    auto *lines = new QVBoxLayout(both);
    lines->setContentsMargins(0, 0, 0, 0);
    lines->setSpacing(0);
    lines->addWidget(makeRow(children));
    lines->addWidget(below);
    return both;
}

QPushButton *makeButton(const QString &text) {
    auto *button = new QPushButton(text);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

QLabel *makeCaption(const QString &text) {
    auto *caption = new QLabel;
    caption->setTextFormat(Qt::PlainText);
    setCaption(caption, text);
    caption->setWordWrap(true);
    caption->setForegroundRole(QPalette::PlaceholderText);
    QFont small;
    // Desktops give it in points or in pixels.
    if (const qreal points = caption->font().pointSizeF(); points > 0)
        small.setPointSizeF(points * captionScale);
    else
        small.setPixelSize(qRound(caption->font().pixelSize() * captionScale));
    caption->setFont(small);
    return caption;
}

QString brokenAtBlanks(QString text) {
    static const QRegularExpression joints(u"(?<=[:/]|--)(?=\\S)"_s);
    return text.replace(joints, u"\u2060"_s); // a word joiner
}

void setCaption(QLabel *caption, const QString &text) {
    caption->setText(brokenAtBlanks(text));
    caption->setAccessibleName(text);
}

} // namespace corvid
