#pragma once

#include "Platform/ClickMonitor.h"
#include "Platform/Linux/X11/X11PanelWatch.h"
#include "Platform/Linux/X11/X11ShadowWindow.h"
#include "Platform/PanelSurface.h"

#include <QByteArray>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

struct xcb_connection_t;

namespace corvid {

/** The panel as a managed window, over Qt's own connection to the X server. */
class X11PanelSurface final : public PanelSurface {
public:
    /** After the application object, which must run on X11. */
    X11PanelSurface();

    /** The startup id by which the next show may take the keyboard; empty for none. */
    void setStartupId(const QByteArray &id) { startupId_ = id; }

    Behind behind() const override;
    QRect visibleFrame(const QScreen &screen) const override;
    void prepare(QWindow &panel, qreal cornerRadius, quint32 time) override;
    void appeared(QWindow &panel, const QPoint &origin, const QRect &card) override;
    void anticipateKeyboard(QWindow &panel) override;
    bool leavesTimeToPaint() const override { return true; }
    void drag(QWindow &panel, const QPoint &grip, const QPoint &inWindow,
              const QPoint &onDesktop) override;
    void castShadow(QWindow &panel, const Shadow &shadow) override;
    void withdraw(QWindow &panel) override;
    void claimKeyboard(QWindow &window) override;
    bool hasKeyboard(const QWindow &panel) const override;

private:
    void askForBlur(const QWindow &panel, qreal cornerRadius) const;
    void cutCorners(const QWindow &panel, qreal cornerRadius);
    void showShadow(QWindow &panel);

    xcb_connection_t *connection_;
    std::uint32_t root_;
    struct {
        std::uint32_t startupId, utf8, state, skipTaskbar, skipPager, above, sticky, desktop,
            blurRegion, clientList, strutPartial, foreignShadow;
    } atoms_{};
    mutable X11PanelWatch watch_;
    QByteArray startupId_;
    bool isCut_ = false;
    mutable Behind behind_ = Behind::Desktop; ///< as it was asked for last
    std::unique_ptr<X11ShadowWindow> shadow_;
    qreal shadowScale_ = 0; ///< that it was drawn at
    bool isBeingDrawn_ = false;
    bool followed_ = false; ///< the panel, wherever it goes
};

/** What a dock or a bar keeps for itself along one or more edges of the whole desktop, in native
    pixels: the numbers of _NET_WM_STRUT_PARTIAL in their order. */
using Strut = std::array<std::uint32_t, 12>;

/** What the struts leave of a screen. `desktop` is the size of all screens together, from whose
    edges the struts are measured. A strut that would leave nothing of the screen belongs to one
    that lies behind it, and takes nothing here. */
QRect withoutStruts(const QRect &screen, const QSize &desktop, const std::vector<Strut> &struts);

/** Raw button presses of every pointer, whichever program they go to, over Qt's own connection.
    Gives null tokens where the server has no XInput extension. The application object must run on
    X11. */
class X11ClickMonitor final : public ClickMonitor {
public:
    std::unique_ptr<Token> install(Handler handler) override;
};

} // namespace corvid
