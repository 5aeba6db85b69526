#pragma once

#include "Platform/Appearance.h"

#include <QObject>

#include <memory>
#include <thread>

namespace corvid {

/**
 * The appearance that the desktop's settings portal tells, followed by its change signals on a
 * thread that sleeps otherwise. Without a bus or a portal, or one that does not answer, the
 * defaults stay.
 */
class PortalAppearance final : public AppearanceSettings {
public:
    PortalAppearance();
    ~PortalAppearance() override;

    Appearance current() const override { return current_; }

private:
    void install(const Appearance &appearance);

    Appearance current_;
    QObject receiver_; ///< what the thread sends is dropped with us
    std::jthread thread_;
};

} // namespace corvid
