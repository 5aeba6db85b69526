#pragma once

#include <functional>

namespace corvid {

/** Tells when the desktop has a place for status items. Main thread only. */
class TrayWatch {
public:
    TrayWatch() = default;
    TrayWatch(const TrayWatch &) = delete;
    TrayWatch &operator=(const TrayWatch &) = delete;
    virtual ~TrayWatch() = default;

    /** Calls `there` once, on the main thread, from the event loop: soon when there is a tray, else
        when one starts, perhaps never. Once. */
    virtual void await(std::function<void()> there) = 0;
};

} // namespace corvid
