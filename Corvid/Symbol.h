#pragma once

#include <QAbstractButton>
#include <QPixmap>

#include <memory>

class QSvgRenderer;

namespace corvid {

/** A symbol as a square picture, `size` pixels wide. */
QPixmap symbolPixmap(const QString &name, int size);

/**
 * One of the panel's own vector symbols ("search", "sparkles", "clear"), drawn anew at each
 * paint, so that it is sharp on every screen. Connect clicked() to make a button of it.
 */
class Symbol final : public QAbstractButton {
    Q_OBJECT

public:
    Symbol(const QString &name, int size, QWidget *parent = nullptr);
    ~Symbol() override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::unique_ptr<QSvgRenderer> renderer_;
};

} // namespace corvid
