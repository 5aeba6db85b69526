#include "LauncherPanel.h"

#include "LauncherView.h"
#include "Panel/Letters.h"
#include "Panel/RowPainting.h"
#include "Panel/SearchField.h"
#include "Panel/Style.h"
#include "Platform/PanelSurface.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QCursor>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QWindow>
#include <QtMath>

#include <algorithm>
#include <chrono>

namespace corvid {

namespace {

/** Does something to a window that is being shown, once, before it is painted: Qt paints it while
    it is shown (6.11) or later. At the latest when this goes. */
class BeforePainting final : public QObject {
public:
    BeforePainting(QWindow &window, std::function<void()> what) : what_(std::move(what)) {
        window.installEventFilter(this);
    }
    ~BeforePainting() override { doIt(); }

    bool eventFilter(QObject * /*window*/, QEvent *event) override {
        if (event->type() == QEvent::Expose)
            doIt();
        return false;
    }

private:
    void doIt() {
        if (const auto what = std::exchange(what_, nullptr))
            what();
    }

    std::function<void()> what_;
};

} // namespace

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

std::optional<QPoint> panelOrigin(const QPoint &pointer, const std::vector<ScreenArea> &screens,
                                  const QSize &panel) {
    constexpr qreal topShareOfVisibleHeight = 0.22;
    if (screens.empty())
        return std::nullopt;
    const auto underPointer = std::ranges::find_if(
        screens, [&](const ScreenArea &screen) { return screen.frame.contains(pointer); });
    const QRectF visible =
        (underPointer == screens.end() ? screens.front() : *underPointer).visible;
    return QPoint(qRound(visible.center().x() - panel.width() / 2.0),
                  qRound(visible.top() + topShareOfVisibleHeight * visible.height()));
}

LauncherPanel::LauncherPanel(LauncherViewModel &viewModel, PanelSurface &surface)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      surface_(surface), shadowRoom_(surface.castsShadow() ? QMargins() : CardShadow::room()),
      view_(new LauncherView(viewModel, this)) {
    setWindowTitle(u"Corvid"_s);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    setFixedSize(QSize(style::panelWidth, style::panelHeight).grownBy(shadowRoom_));
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(shadowRoom_);
    whole->addWidget(view_);
    // By then it was painted, if it is shown at the start, and nobody has typed.
    QTimer::singleShot(300ms, this, &LauncherPanel::prepareToList);
}

void LauncherPanel::prepareToList() {
    if (const SearchField *field = SearchField::current())
        loadLetters(field->font(), devicePixelRatio());
    for (const QFont &font : RowLines::fontsFor(view_->font()))
        loadLetters(font, devicePixelRatio());
}

// Hides first, while the window that the surface withdraws still exists. The owner is being
// destroyed, too, and must not be called.
LauncherPanel::~LauncherPanel() {
    onResignKey = nullptr;
    setVisible(false);
}

void LauncherPanel::setVisible(bool visible) {
    if (!visible) {
        painting_ = Painting::Done;
        if (isVisible())
            surface_.withdraw(*windowHandle());
    }
    QWidget::setVisible(visible);
}

QRect LauncherPanel::card() const {
    return rect().marginsRemoved(shadowRoom_);
}

void LauncherPanel::paintEvent(QPaintEvent *event) {
    QPainter painter(this);
    // Qt does not always do it: what goes to a fresh buffer lies over what was painted before. All
    // of it is filled, as far as is painted now: the part alone may end within a pixel.
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.fillRect(rect(), Qt::transparent);
    // The card covers it, but for the corners: most repaints need not draw it.
    const int corners = qCeil(2 * style::cardRadius);
    const QRect belowCorners = card().adjusted(0, corners, 0, -corners);
    if (shadowRoom_.isNull() || belowCorners.contains(event->rect()))
        return;
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    shadow_.draw(painter, card(), style::cardRadius);
}

void LauncherPanel::position() {
    std::vector<ScreenArea> screens;
    const QList<QScreen *> connected = QGuiApplication::screens();
    for (const QScreen *screen : connected) {
        const ScreenArea area{screen->geometry(), surface_.visibleFrame(*screen)};
        screens.insert(screen == QGuiApplication::primaryScreen() ? screens.begin() : screens.end(),
                       area);
    }
    if (const std::optional<QPoint> origin = panelOrigin(QCursor::pos(), screens, card().size()))
        move(origin_ = *origin - card().topLeft());
}

void LauncherPanel::present(quint32 time) {
    grip_.reset();
    view_->setBehind(surface_.behind());
    winId(); // there is no window to prepare before it was first asked for
    windowHandle()->installEventFilter(this);
    painting_ = Painting::Awaited;
    if (isVisible())
        tellOfPainting();
    surface_.prepare(*windowHandle(), style::cardRadius, time);
    {
        const BeforePainting appearing(*windowHandle(), [this] {
            surface_.appeared(*windowHandle(), origin_, card());
            takeKeyboard();
            // Qt asks each widget that it shows to paint itself, later. Where that came after the
            // first picture, as on Wayland, all would be painted twice.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateLater);
        });
        show();
    }
    raise();
    activateWindow();
    if (surface_.leavesTimeToPaint())
        paintAhead();
}

// The window is going to have it: what shows that belongs into the first picture.
void LauncherPanel::takeKeyboard() {
    if (SearchField *field = SearchField::current()) {
        field->setFocus(Qt::ActiveWindowFocusReason);
        field->selectAll();
    }
    surface_.anticipateKeyboard(*windowHandle());
}

// While the window manager is busy with the window. Qt paints only what it takes for mapped; once
// the window is exposed, there is nothing left but to hand the picture over.
void LauncherPanel::paintAhead() {
    setAttribute(Qt::WA_Mapped);
    repaint();
}

// Qt paints or hands over what it has painted as it hears that the window is exposed.
bool LauncherPanel::eventFilter(QObject *object, QEvent *event) {
    if (event->type() == QEvent::Expose && object == windowHandle() && windowHandle()->isExposed())
        tellOfPainting();
    return QWidget::eventFilter(object, event);
}

void LauncherPanel::tellOfPainting() {
    if (painting_ != Painting::Awaited)
        return;
    painting_ = Painting::Begun;
    QMetaObject::invokeMethod(this, &LauncherPanel::painted, Qt::QueuedConnection);
}

void LauncherPanel::painted() {
    if (painting_ != Painting::Begun)
        return;
    painting_ = Painting::Done;
    if (surface_.castsShadow())
        surface_.castShadow(*windowHandle(),
                            {[this](qreal scale, std::function<void(const QImage &)> drawn) {
                                 drawShadow(scale, std::move(drawn));
                             },
                             CardShadow::room()});
    if (onPainted)
        onPainted();
}

void LauncherPanel::drawShadow(qreal scale, std::function<void(const QImage &)> drawn) {
    tasks_.start([this, scale, card = size(), drawn = std::move(drawn)](const std::stop_token &) {
        const QImage picture = CardShadow::picture(card, style::cardRadius, scale);
        QMetaObject::invokeMethod(
            this, [picture, drawn] { drawn(picture); }, Qt::QueuedConnection);
    });
}

// Presses come here that nothing on the card has a use for.
void LauncherPanel::mousePressEvent(QMouseEvent *event) {
    const QPoint place = event->position().toPoint();
    if (event->button() != Qt::LeftButton || !card().contains(place))
        return;
    grip_ = place;
    dragged_ = false;
}

void LauncherPanel::mouseMoveEvent(QMouseEvent *event) {
    const QPoint place = event->position().toPoint();
    if (!grip_ ||
        (!dragged_ && (place - *grip_).manhattanLength() < QApplication::startDragDistance()))
        return;
    dragged_ = true;
    surface_.drag(*windowHandle(), *grip_, place, event->globalPosition().toPoint());
}

void LauncherPanel::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton)
        grip_.reset();
}

void LauncherPanel::applyStyle() {
    view_->applyStyle();
}

// The owner hides the panel: it notes the time.
void LauncherPanel::closeEvent(QCloseEvent *event) {
    event->ignore();
    if (onClose)
        onClose();
}

void LauncherPanel::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    // The event may be late: the panel may have been shown again and have the keyboard.
    if (event->type() == QEvent::ActivationChange && !isActiveWindow() && isVisible() &&
        !hasSheet() && onResignKey && !surface_.hasKeyboard(*windowHandle()))
        onResignKey();
}

bool LauncherPanel::hasSheet() const {
    const QWindow *sheet = QGuiApplication::modalWindow();
    return sheet && windowHandle()->isAncestorOf(sheet);
}

} // namespace corvid
