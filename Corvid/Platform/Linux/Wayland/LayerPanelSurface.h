#pragma once

#include "Platform/Linux/Wayland/BackgroundBlur.h"
#include "Platform/Linux/Wayland/LayerCovers.h"
#include "Platform/Linux/Wayland/PlainPanelSurface.h"

#include <QPointF>

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
    void anticipateKeyboard(QWindow &panel) override;
    void drag(QWindow &panel, const QPoint &grip, const QPoint &inWindow,
              const QPoint &onDesktop) override;
    void withdraw(QWindow &panel) override;

private:
    /** From when it is known that the panel is dragged until the left button is released. */
    struct Drag {
        QPoint grip;         ///< where in the panel the pointer holds it
        QPoint from;         ///< where the panel was
        QPointF toldFrom;    ///< where in the panel the pointer was told to be
        QPointF travelled{}; ///< of the pointer since then
        /** Whether the pointer's place is told in the window as that lay when the button was
            pressed; in the window as it lies, else. Not known before the panel has moved. */
        std::optional<bool> toldAsPressed{};
    };

    void listenToPointer();
    void hear(std::string_view event, const wl_argument *arguments);
    void placePointer(const QPointF &told);
    void followPointer();
    void move();

    std::shared_ptr<const LayerShell> shell_;
    std::shared_ptr<LayerCovers> covers_;
    const std::unique_ptr<BackgroundBlur> blur_;
    qreal cornerRadius_ = 0;
    std::unique_ptr<LayerSurface> role_; ///< only while the panel is shown
    std::unique_ptr<QObject> popups_;    ///< likewise; shows those of input methods
    const WaylandPointer<zwp_relative_pointer_manager_v1> travels_; ///< null where not offered
    std::unique_ptr<SeatEvents> pointer_;            ///< only while the panel is shown
    WaylandPointer<zwp_relative_pointer_v1> travel_; ///< likewise
    std::optional<Drag> drag_;
    std::optional<QPointF> told_;        ///< the pointer's place, in this frame of its events
    QPointF lastTold_;                   ///< in those before
    QPoint pointerAt_;                   ///< on the output, as far as it moved on the panel
    QPoint shown_;                       ///< where the compositor has the panel
    QPoint wanted_;                      ///< where the panel is to be
    QPoint asked_;                       ///< where it was last asked to have it
    WaylandPointer<wl_callback> moving_; ///< until the compositor has got to the last move
    bool givenUp_ = false; ///< until the panel is hidden: it may be painted, too late for a role
};

} // namespace corvid
