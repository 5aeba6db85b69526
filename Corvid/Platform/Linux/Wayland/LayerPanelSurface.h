#pragma once

#include "Platform/Linux/Wayland/LayerCovers.h"
#include "Platform/Linux/Wayland/LayerPopups.h"
#include "Platform/Linux/Wayland/Remap.h"
#include "Platform/PanelSurface.h"

#include <memory>

namespace corvid {

/** The panel as a surface of the compositor's topmost layer, on the output that the compositor
    holds for active. It has the keyboard for itself while it is shown. */
class LayerPanelSurface final : public PanelSurface {
public:
    explicit LayerPanelSurface(std::shared_ptr<const LayerShell> shell);
    ~LayerPanelSurface() override;

    /** What the clicks elsewhere go to; there while the panel is shown. */
    std::shared_ptr<LayerCovers> covers() const { return covers_; }

    Behind behind() const override { return Behind::Desktop; }
    bool castsShadow() const override { return false; }
    /** Of the active output, whichever the screen is, and from its own top left corner. */
    QRect visibleFrame(const QScreen &screen) const override;
    void prepare(QWindow &panel, qreal cornerRadius, quint32 time) override;
    void appeared(QWindow &panel, const QPoint &origin, const QRect &card) override;
    void withdraw(QWindow &panel) override;
    void claimKeyboard(QWindow &window) override { remap(window); }
    bool hasKeyboard(const QWindow &panel) const override;

private:
    std::shared_ptr<const LayerShell> shell_;
    std::shared_ptr<LayerCovers> covers_;
    std::unique_ptr<LayerSurface> role_;  ///< only while the panel is shown
    std::unique_ptr<LayerPopups> popups_; ///< likewise
};

} // namespace corvid
