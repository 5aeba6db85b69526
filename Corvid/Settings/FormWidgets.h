#pragma once

#include <QLabel>
#include <QWidget>

#include <initializer_list>

class QPushButton;
class QVBoxLayout;

namespace corvid {

/** The distance of what is in a row from its edges, and between a text and what it belongs to, in
    device-independent pixels. */
inline constexpr int rowPaddingX = 12;
inline constexpr int rowPaddingY = 6;
inline constexpr int labelGap = 14;

/** A heading above a card of rows, as a grouped form has. */
class FormSection : public QWidget {
    Q_OBJECT

public:
    explicit FormSection(const QString &heading, QWidget *parent = nullptr);

    /** Below those that are there, or before the row with that number. The section owns it. */
    void addRow(QWidget *row, int before = -1);
    /** Counted from 0. */
    QWidget *row(int number) const;
    /** It is deleted once the event loop runs again: it may be sending a signal. */
    void removeRow(int number);

private:
    QVBoxLayout *rows_;
};

/** One line of text that gives up its middle where it is too long, and shows the whole of it as a
    tooltip. */
class ElidedLabel final : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(const QString &text, QWidget *parent = nullptr);

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

/** A text in whose place, while it is empty, another one stands in a paler colour. */
class PlaceholderLabel final : public QLabel {
    Q_OBJECT

public:
    using QLabel::QLabel;

    void setPlaceholder(const QString &text);
    const QString &placeholder() const { return placeholder_; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString placeholder_;
};

/** A row of a section, its children side by side; labels take the room that is left. */
QWidget *makeRow(std::initializer_list<QWidget *> children);

/** A row with what belongs to it below, both in one part of the card. */
QWidget *makeRowOver(QWidget *below, std::initializer_list<QWidget *> children);

/** A button that Tab reaches in every style. */
QPushButton *makeButton(const QString &text);

/** An explanation in small letters, as many lines high as it needs. */
QLabel *makeCaption(const QString &text = {});
/** A text that is broken into lines at blanks, and not within an address or an option. */
QString brokenAtBlanks(QString text);
/** Gives a caption another text, so broken. */
void setCaption(QLabel *caption, const QString &text);

} // namespace corvid
