#pragma once

#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <QRegion>

#include <memory>

namespace corvid {

/** Has the compositor blur what lies behind a part of a surface, one surface at a time, where it
    knows how: by the protocol that all may have, or by KDE's own. Main thread only. */
class BackgroundBlur {
public:
    explicit BackgroundBlur(std::shared_ptr<WaylandConnection> connection);
    ~BackgroundBlur();
    Q_DISABLE_COPY_MOVE(BackgroundBlur)

    /** Whether the compositor blurs at this time, as far as the connection's events have been
        dispatched: users switch such effects on and off. */
    bool works();

    /** From the surface's next commit on, in the surface's own coordinates, until it is withdrawn.
        Nothing where it does not work. */
    void apply(wl_surface *surface, const QRegion &region);
    /** Before the surface goes. */
    void withdraw();

private:
    /** What the compositor offers by one interface, at this time. */
    template <typename T>
    struct Offered {
        std::uint32_t offer = 0;
        WaylandPointer<T> object{};
    };

    template <typename T>
    bool renew(Offered<T> &offered, const wl_interface &interface) const;

    std::shared_ptr<WaylandConnection> connection_;
    WaylandPointer<wl_compositor> compositor_;
    Offered<ext_background_effect_manager_v1> effects_;
    bool effectsBlur_ = false; ///< as the compositor told
    Offered<org_kde_kwin_blur_manager> kdeBlur_;

    WaylandPointer<ext_background_effect_surface_v1> effect_; ///< of the surface; either this
    WaylandPointer<org_kde_kwin_blur> kdeEffect_;             ///< or that
    wl_surface *surface_ = nullptr;                           ///< null while nothing is applied
};

} // namespace corvid
