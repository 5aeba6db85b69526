#pragma once

#include "Platform/Linux/Wayland/BackgroundBlur.h"
#include "Platform/Linux/Wayland/LayerCovers.h"
#include "Platform/Linux/Wayland/PlainPanelSurface.h"

#include <memory>
#include <optional>
#include <string_view>

namespace corvid {

/** The panel as a surface of the compositor's topmost layer, on the output that the compositor
    holds for active. It has the keyboard for itself while it is shown. */
class LayerPanelSurface final : public PlainPanelSurface {
public:
    explicit LayerPanelSurface(std::shared_ptr<const LayerShell> shell);

    /** What clicks elsewhere go to. */
    std::shared_ptr<LayerCovers> covers() const { return covers_; }

    bool castsShadow() const override { return false; }
    Behind behind() const override {
        return blur_->works() ? Behind::BlurredDesktop : Behind::Desktop;
    }
    /** Of the active output, whichever the screen is, and from its own top left corner. The whole
        screen where the compositor takes longer than half a second to answer. */
    QRect visibleFrame(const QScreen &screen) const override;
    void prepare(QWindow &panel, qreal cornerRadius, quint32 time) override;
    /** Closes the panel, from the event loop, where the compositor does not answer in time or has
        no output to show it on. */
    void appeared(QWindow &panel, const QPoint &origin, const QRect &card) override;
    void drag(QWindow &panel, const QPoint &grip, const QPoint &inWindow,
              const QPoint &onDesktop) override;
    void withdraw(QWindow &panel) override;

private:
    void hear(std::string_view event, const wl_argument *arguments);
    void followPointer();

    std::shared_ptr<const LayerShell> shell_;
    std::shared_ptr<LayerCovers> covers_;
    const std::unique_ptr<BackgroundBlur> blur_;
    qreal cornerRadius_ = 0;
    std::unique_ptr<LayerSurface> role_;  ///< only while the panel is shown
    std::unique_ptr<QObject> popups_;     ///< likewise; shows those of input methods
    std::optional<QPoint> grip_;          ///< where in the panel the pointer holds it
    std::unique_ptr<SeatEvents> pointer_; ///< only while the panel is shown
    QPoint shown_;                        ///< where the compositor has the panel
    QPoint asked_;                        ///< where it was last asked to have it
    QPoint pointerAt_;                    ///< on the output, as far as it moved on the panel
    WaylandPointer<wl_callback> moving_;  ///< until the compositor has got to the last move
    bool givenUp_ = false; ///< until the panel is hidden: it may be painted, too late for a role
};

} // namespace corvid
