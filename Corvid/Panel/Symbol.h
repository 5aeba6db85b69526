#pragma once

#include <QAbstractButton>
#include <QPixmap>

namespace corvid {

/** Draws one of the panel's own vector symbols, by the name of its file. */
void drawSymbol(QPainter &painter, const QString &name, const QRectF &place);

/** A symbol as a square picture, `size` pixels wide. */
QPixmap symbolPixmap(const QString &name, int size);

/** A symbol as a widget, sharp on every screen. Connect clicked() to make a button of it. */
class Symbol final : public QAbstractButton {
    Q_OBJECT

public:
    Symbol(QString name, int size, QWidget *parent = nullptr);

    /** Shows another one of the symbols. */
    void setSymbol(const QString &name);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString name_;
};

} // namespace corvid
