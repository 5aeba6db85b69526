#pragma once

#include "Platform/Instance.h"

#include <QByteArray>

#include <memory>
#include <vector>

namespace corvid {

/** How the desktop lets a program that was started by the user come to the front. Each is empty
    where there is none. */
struct ActivationToken {
    QByteArray wayland;
    QByteArray x11;

    /** The one that we were started with. It stays there for the toolkit, which uses it up for our
        first window; no program that we start is given it. */
    static ActivationToken fromEnvironment();
};

/**
 * One instance for each session bus: the one that owns the name app.corvid.Launcher and answers to
 * org.freedesktop.Application at /app/corvid/Launcher. Its actions are "show", "toggle" and
 * "settings"; a parameter `true` makes the panel that they show sticky. A call is answered by the
 * main thread, right before its wish is fulfilled. When the bus goes, the instance lives on,
 * unheard.
 */
class BusInstance final : public Instance {
public:
    enum class Claim {
        Sole,       ///< we are the instance, or there is no bus to ask
        HandedOver, ///< another one is, and took our wishes
        Unanswered, ///< another one is, and does not answer
    };

    BusInstance();
    ~BusInstance() override;

    /**
     * Becomes the session's instance, or hands the wishes to the one that is. Once; needs no
     * application object. Blocks for a second at most while the bus does not answer, and for two
     * while the other instance does not. A bus that does not answer is out of bounds afterwards for
     * the whole process, as the toolkit would wait for it without end.
     */
    Claim claim(const std::vector<Wish> &wishes, const ActivationToken &token);

    void serve(std::function<void(const Wish &)> fulfil) override;

private:
    class Calls;

    std::shared_ptr<Calls> calls_;
};

} // namespace corvid
