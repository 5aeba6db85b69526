#pragma once

#include "Base/TaskGroup.h"
#include "Panel/CardShadow.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace corvid {

class LauncherView;
class LauncherViewModel;
class PanelSurface;

/** A screen's whole frame, and what docks and bars leave of it. */
struct ScreenArea {
    QRect frame;
    QRect visible;
};

/** Where a panel of this size goes: centred on the screen under the pointer, otherwise on the first
    one, its top edge 22% of the visible height below the visible top. Nowhere without a screen. */
std::optional<QPoint> panelOrigin(const QPoint &pointer, const std::vector<ScreenArea> &screens,
                                  const QSize &panel);

/**
 * The floating window around the LauncherView: frameless, above everything, in no task bar. Its
 * ground can be dragged, until it is shown the next time.
 * Main thread only.
 */
class LauncherPanel final : public QWidget {
    Q_OBJECT

public:
    /** Both must outlive the panel. */
    LauncherPanel(LauncherViewModel &viewModel, PanelSurface &surface);
    ~LauncherPanel() override;

    void setVisible(bool visible) override;

    /** Centres the panel on the screen under the pointer, its top edge 22% of the visible height
        below the visible top. Without any screen it stays where it is. */
    void position();

    /** Shows the panel in front of everything and gives it the keyboard. `time` is the window
        system's of what the user did to summon it; 0 means now. */
    void present(quint32 time);

    /** Takes over changed colours and fonts. */
    void applyStyle();

    /** Called when the window manager asks the panel to close. */
    std::function<void()> onClose;
    /** Called once for each present(), after the panel has been painted. */
    std::function<void()> onPainted;
    /** Called when the panel loses the keyboard, other than to a modal window of its own. */
    std::function<void()> onResignKey;

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool hasSheet() const;
    void takeKeyboard();
    void paintAhead();
    void prepareToList();
    void tellOfPainting();
    void painted();
    void drawShadow(qreal scale, std::function<void(const QImage &)> drawn);
    /** The card's place in the window. */
    QRect card() const;

    PanelSurface &surface_;
    QMargins shadowRoom_;
    QPoint origin_;              ///< where position() put it
    std::optional<QPoint> grip_; ///< where in the window the pointer holds it
    bool dragged_ = false;       ///< it has moved since
    CardShadow shadow_;
    enum class Painting { Done, Awaited, Begun } painting_ = Painting::Done; ///< since it was shown
    LauncherView *view_;
    TaskGroup tasks_;
};

} // namespace corvid
