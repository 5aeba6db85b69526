#pragma once

#include "Platform/ClickMonitor.h"
#include "Platform/Linux/Wayland/LayerShell.h"

#include <QObject>
#include <QRect>

#include <memory>
#include <vector>

class QScreen;
class QWindow;

namespace corvid {

/**
 * Transparent surfaces over all outputs, which get the clicks that are not the panel's: on Wayland
 * nobody sees clicks that go to others. Such a click does not reach what lies below, and its place
 * is not known. There while the panel is shown; one token at a time. Main thread only.
 */
class LayerCovers final : public ClickMonitor {
public:
    explicit LayerCovers(std::shared_ptr<const LayerShell> shell);
    ~LayerCovers() override;

    std::unique_ptr<Token> install(Handler handler) override;

    /** Asks the compositor for them as soon as it shows the panel's window, which stays above;
        `card` is the part of it whose clicks are its own. The window must have a role, and not be
        painted yet. Where the compositor cannot scale a pixel to an output there are none. */
    void spread(QWindow &panel, const QRect &card);
    /** Takes them away, before the panel's surface goes. */
    void clear();

private:
    class Pane;
    class Presses;

    void cover();
    void coverOthers(const QScreen *screen);
    bool isOurs(const void *surface) const;
    void hear(std::string_view event, const wl_argument *arguments);

    std::shared_ptr<const LayerShell> shell_;
    Handler handler_;
    WaylandPointer<wl_buffer> pixel_; ///< one transparent pixel; null where not needed
    QWindow *panel_ = nullptr;
    QRect card_;
    WaylandPointer<wl_callback> showing_;       ///< until the compositor shows the panel
    std::vector<std::unique_ptr<Pane>> strips_; ///< on the panel's output
    std::vector<std::unique_ptr<Pane>> covers_; ///< on the others
    QMetaObject::Connection screenChange_;      ///< of the panel
    std::unique_ptr<SeatEvents> clicks_;        ///< null while there are no surfaces
    bool pointerIsOver_ = false;
};

} // namespace corvid
