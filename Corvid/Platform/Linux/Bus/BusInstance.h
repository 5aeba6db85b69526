#pragma once

#include "Platform/Instance.h"
#include "Platform/Linux/Bus/PendingWishes.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace corvid {

/** What a call of another program asks for, whatever its type; absent when it is no call of ours.
    Pure. */
std::optional<Wish> wishOf(const QDBusMessage &call);

/**
 * One instance for each session bus: the one that owns the name app.corvid.Launcher and answers to
 * org.freedesktop.Application at /app/corvid/Launcher. Its actions are "show", "toggle" and
 * "settings"; a parameter `true` makes the panel that they show sticky. A call is answered by the
 * main thread, right before its wish is fulfilled; wishes that come faster than they are fulfilled
 * are merged. When the bus goes, the instance lives on, unheard.
 */
class BusInstance final : public Instance, private QDBusVirtualObject {
public:
    enum class Claim {
        Sole,       ///< we are the instance, or there is no bus to ask
        HandedOver, ///< another one is, and took our wishes
        BusSilent,  ///< nobody can tell: the bus does not answer, and is out of bounds now
        Unanswered, ///< another one is, and does not answer
    };

    ~BusInstance() override;

    /**
     * Becomes the session's instance, or hands the wishes to the one that has become it just now.
     * Once; needs no application object. Blocks like callInstance(). Without a wish, one that is
     * there already is left alone.
     */
    Claim claim(const std::vector<Wish> &wishes);

    void serve(std::function<void(const Wish &)> fulfil) override;

private:
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &bus) override;
    QString introspect(const QString &path) const override;
    void fulfilSoon();
    void fulfilWaiting();

    PendingWishes wishes_;
    std::vector<QDBusMessage> calls_;          ///< those by which the wishes came, to be answered
    bool soon_ = false;                        ///< the wishes are about to be fulfilled
    std::function<void(const Wish &)> fulfil_; ///< empty while nobody serves
};

} // namespace corvid
