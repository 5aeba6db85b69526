#pragma once

#include "Platform/PanelSurface.h"

#include <QAbstractNativeEventFilter>
#include <QByteArray>

#include <cstdint>

struct xcb_connection_t;

namespace corvid {

/** The panel as a managed window, over Qt's own connection to the X server. */
class X11PanelSurface final : public PanelSurface, private QAbstractNativeEventFilter {
public:
    /** After the application object, which must run on X11. */
    explicit X11PanelSurface(xcb_connection_t *connection);

    /** The startup id by which the next show may take the keyboard; empty for none. */
    void setStartupId(const QByteArray &id) { startupId_ = id; }

    Behind behind() const override;
    QRect visibleFrame(const QScreen &screen) const override;
    void prepare(QWindow &panel, qreal cornerRadius, quint32 time) override;
    void claimKeyboard(QWindow &window) override;
    bool hasKeyboard(const QWindow &panel) const override;

private:
    struct Atoms {
        std::uint32_t startupId, utf8, state, skipTaskbar, skipPager, above, sticky, desktop,
            blurRegion, clientList, strutPartial, compositor;
    };

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    void askForBlur(const QWindow &panel, qreal cornerRadius) const;

    xcb_connection_t *connection_;
    std::uint32_t root_;
    Atoms atoms_{};
    QByteArray startupId_;
    /** The panel's window while Qt does not know yet that it lost the keyboard; else 0. */
    std::uint32_t untold_ = 0;
};

} // namespace corvid
