#include "Panel/Symbol.h"

#include "Panel/Style.h"

#include <QPainter>
#include <QSvgRenderer>

// A static library's resources are linked only when they are asked for by name, and the macro
// wants to stand outside any namespace.
static void linkSymbols() {
    Q_INIT_RESOURCE(symbols);
}

namespace corvid {

using namespace Qt::Literals::StringLiterals;

std::unique_ptr<QSvgRenderer> symbolRenderer(const QString &name) {
    linkSymbols();
    return std::make_unique<QSvgRenderer>(u":/symbols/"_s + name + u".svg"_s);
}

QPixmap symbolPixmap(const QString &name, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    symbolRenderer(name)->render(&painter);
    return pixmap;
}

Symbol::Symbol(const QString &name, int size, QWidget *parent)
    : QAbstractButton(parent), renderer_(symbolRenderer(name)) {
    setFixedSize(size, size);
    setFocusPolicy(Qt::NoFocus);
}

Symbol::~Symbol() = default;

void Symbol::setSymbol(const QString &name) {
    renderer_ = symbolRenderer(name);
    update();
}

void Symbol::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    // A symbol that is no button is an ornament, and steps back.
    if (!isEnabled())
        painter.setOpacity(style::secondary().alphaF());
    renderer_->render(&painter, QRectF(rect()));
}

} // namespace corvid
