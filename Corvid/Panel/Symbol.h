#pragma once

#include <QAbstractButton>
#include <QPixmap>

#include <memory>

class QSvgRenderer;

namespace corvid {

/** The renderer of one of the panel's own vector symbols, by the name of its file. */
std::unique_ptr<QSvgRenderer> symbolRenderer(const QString &name);

/** A symbol as a square picture, `size` pixels wide. */
QPixmap symbolPixmap(const QString &name, int size);

/**
 * One of the panel's own vector symbols, by the name of its file, drawn anew at each paint, so
 * that it is sharp on every screen. Connect clicked() to make a button of it.
 */
class Symbol final : public QAbstractButton {
    Q_OBJECT

public:
    Symbol(const QString &name, int size, QWidget *parent = nullptr);
    ~Symbol() override;

    /** Shows another one of the symbols. */
    void setSymbol(const QString &name);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::unique_ptr<QSvgRenderer> renderer_;
};

} // namespace corvid
