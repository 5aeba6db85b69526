#pragma once

#include "Platform/Port.h"

#include <functional>

namespace corvid {

/** Tells when the desktop has a place for status items. Main thread only. */
class TrayWatch : public Port {
public:
    /** Calls `there` once, on the main thread, from the event loop: soon when there is a tray, else
        when one starts, perhaps never. Once. */
    virtual void await(std::function<void()> there) = 0;
};

} // namespace corvid
