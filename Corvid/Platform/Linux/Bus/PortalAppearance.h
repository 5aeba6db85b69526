#pragma once

#include "Platform/Appearance.h"
#include "Platform/Linux/Bus/Portal.h"

namespace corvid {

/**
 * The appearance that the desktop's settings portal tells, followed by its change signals. Without
 * a bus or a portal, or one that does not answer, the defaults stay.
 */
class PortalAppearance final : public AppearanceSettings {
public:
    PortalAppearance();

    Appearance current() const override { return current_; }

private:
    void install(const Appearance &appearance);

    Appearance current_;
    Portal portal_;
};

} // namespace corvid
