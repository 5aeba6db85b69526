#include "Panel/Symbol.h"

#include "Panel/Style.h"

#include <QPainter>
#include <QSvgRenderer>

#include <map>
#include <utility>

// A static library's resources are linked only when they are asked for by name, and the macro
// has to stand outside any namespace.
static void linkSymbols() {
    Q_INIT_RESOURCE(symbols);
}

namespace corvid {

using namespace Qt::Literals::StringLiterals;

void drawSymbol(QPainter &painter, const QString &name, const QRectF &place) {
    linkSymbols();
    static std::map<QString, QSvgRenderer> renderers;
    renderers.try_emplace(name, u":/symbols/"_s + name + u".svg"_s)
        .first->second.render(&painter, place);
}

QPixmap symbolPixmap(const QString &name, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    drawSymbol(painter, name, QRectF(pixmap.rect()));
    return pixmap;
}

Symbol::Symbol(QString name, int size, QWidget *parent)
    : QAbstractButton(parent), name_(std::move(name)) {
    setFixedSize(size, size);
    setFocusPolicy(Qt::NoFocus);
}

void Symbol::setSymbol(const QString &name) {
    name_ = name;
    update();
}

void Symbol::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    // A symbol that is not a button is an ornament, and is drawn fainter.
    if (!isEnabled())
        painter.setOpacity(style::secondary().alphaF());
    drawSymbol(painter, name_, QRectF(rect()));
}

} // namespace corvid
