#pragma once

#include "Platform/PanelSurface.h"

#include <cstdint>

struct xcb_connection_t;

namespace corvid {

/** The panel as a managed window, over Qt's own connection to the X server. */
class X11PanelSurface final : public PanelSurface {
public:
    /** After the application object, which must run on X11. */
    explicit X11PanelSurface(xcb_connection_t *connection);

    Behind behind() const override;
    QRect visibleFrame(const QScreen &screen) const override;
    void prepare(QWindow &panel, qreal cornerRadius, quint32 time) override;

private:
    struct Atoms {
        std::uint32_t state, skipTaskbar, skipPager, above, sticky, desktop, blurRegion, clientList,
            strutPartial, compositor;
    };

    void askForBlur(const QWindow &panel, qreal cornerRadius) const;

    xcb_connection_t *connection_;
    std::uint32_t root_;
    Atoms atoms_{};
};

} // namespace corvid
