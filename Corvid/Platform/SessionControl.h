#pragma once

#include "Platform/Port.h"

#include <functional>

namespace corvid {

enum class SessionCommand { Lock, Suspend, Hibernate, LogOut, Restart, ShutDown };

/**
 * What pauses or ends the user's session and the machine. Main thread only, never waits: what can
 * be done is found out in the background, and stays as it was found until it is asked for again.
 */
class SessionControl : public Port {
public:
    /** Finds out afresh what can be done. Whoever does not answer in time can do nothing. */
    virtual void ask() = 0;

    /** As it was found last; nothing can be done until then. */
    virtual bool can(SessionCommand command) const = 0;

    /** Has it done, and asks nobody but the desktop itself. Failures are silent. */
    virtual void carryOut(SessionCommand command) = 0;

    /** Called from the event loop when something else can be done than before. */
    std::function<void()> onChange;
};

} // namespace corvid
