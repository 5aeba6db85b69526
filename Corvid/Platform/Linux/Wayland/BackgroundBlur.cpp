#include "Platform/Linux/Wayland/BackgroundBlur.h"

#include <utility>

namespace corvid {

BackgroundBlur::BackgroundBlur(std::shared_ptr<WaylandConnection> connection)
    : connection_(std::move(connection)),
      compositor_(connection_->bind<wl_compositor>(wl_compositor_interface, 1)) {
    works(); // the sooner it is asked, the sooner it has told what it can
}

BackgroundBlur::~BackgroundBlur() {
    withdraw();
}

// Whether there is another object than before.
template <typename T>
bool BackgroundBlur::renew(Offered<T> &offered, const wl_interface &interface) const {
    const std::uint32_t offer = connection_->offer(interface);
    if (std::exchange(offered.offer, offer) == offer)
        return false;
    offered.object = connection_->bind<T>(interface, 1);
    return true;
}

bool BackgroundBlur::works() {
    if (renew(effects_, ext_background_effect_manager_v1_interface)) {
        effectsBlur_ = false;
        static constexpr ext_background_effect_manager_v1_listener listener{
            [](void *self, auto *, std::uint32_t capabilities) {
                static_cast<BackgroundBlur *>(self)->effectsBlur_ =
                    (capabilities & EXT_BACKGROUND_EFFECT_MANAGER_V1_CAPABILITY_BLUR) != 0;
            }};
        if (effects_.object)
            ext_background_effect_manager_v1_add_listener(effects_.object.get(), &listener, this);
    }
    renew(kdeBlur_, org_kde_kwin_blur_manager_interface);
    return compositor_ && (effects_.object ? effectsBlur_ : kdeBlur_.object != nullptr);
}

void BackgroundBlur::apply(wl_surface *surface, const QRegion &region) {
    withdraw();
    if (!works())
        return;
    surface_ = surface;
    const WaylandPointer<wl_region> area(wl_compositor_create_region(compositor_.get()));
    for (const QRect &part : region)
        wl_region_add(area.get(), part.x(), part.y(), part.width(), part.height());
    if (effects_.object) {
        effect_.reset(
            ext_background_effect_manager_v1_get_background_effect(effects_.object.get(), surface));
        ext_background_effect_surface_v1_set_blur_region(effect_.get(), area.get());
    } else {
        kdeEffect_.reset(org_kde_kwin_blur_manager_create(kdeBlur_.object.get(), surface));
        org_kde_kwin_blur_set_region(kdeEffect_.get(), area.get());
        org_kde_kwin_blur_commit(kdeEffect_.get());
    }
}

void BackgroundBlur::withdraw() {
    effect_.reset();
    if (kdeEffect_ && kdeBlur_.object)
        org_kde_kwin_blur_manager_unset(kdeBlur_.object.get(), surface_);
    kdeEffect_.reset();
    surface_ = nullptr;
}

} // namespace corvid
