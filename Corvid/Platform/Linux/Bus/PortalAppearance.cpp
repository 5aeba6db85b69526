#include "Platform/Linux/Bus/PortalAppearance.h"

#include "Platform/Linux/Bus/PortalReplies.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto settingsInterface = "org.freedesktop.portal.Settings"_L1;

} // namespace

PortalAppearance::PortalAppearance() : portal_(QDBusConnection::sessionBus()) {
    // Before asking, so that no change falls in between.
    portal_.listen(
        Portal::path, settingsInterface, u"SettingChanged"_s,
        [this](const QDBusMessage &change) { install(appearanceAfter(change, current_)); });
    const auto readAll =
        portal_.method(Portal::path, settingsInterface, u"ReadAll"_s,
                       {QStringList{portalnames::appearance, portalnames::interface}});
    portal_.send(readAll, [this](const QDBusMessage &reply) {
        install(appearanceIn(reply).value_or(current_));
    });
}

void PortalAppearance::install(const Appearance &appearance) {
    if (appearance == current_)
        return;
    current_ = appearance;
    if (onChange)
        onChange();
}

} // namespace corvid
