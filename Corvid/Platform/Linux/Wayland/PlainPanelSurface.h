#pragma once

#include "Platform/PanelSurface.h"

#include "Platform/Linux/QtInternals.h"

#include <QScreen>
#include <QWindow>

namespace corvid {

/** Leaves everything to Qt. */
class PlainPanelSurface : public PanelSurface {
public:
    Behind behind() const override { return Behind::Desktop; }
    QRect visibleFrame(const QScreen &screen) const override { return screen.availableGeometry(); }
    void prepare(QWindow & /*panel*/, qreal /*cornerRadius*/, quint32 /*time*/) override {}
    bool hasKeyboard(const QWindow &panel) const override { return panel.isActive(); }

    void drag(QWindow &panel, const QPoint & /*grip*/, const QPoint & /*inWindow*/,
              const QPoint & /*onDesktop*/) override {
        panel.startSystemMove();
    }

    // Compositors give the keyboard to a window that appears, but to one that is already there only
    // with a proof of what the user did, which we have none of. So it vanishes and appears again,
    // which what is in it does not notice.
    void claimKeyboard(QWindow &window) override {
        if (!window.handle() || !window.isVisible() || window.isActive())
            return;
        qt::remap(window);
    }
};

} // namespace corvid
