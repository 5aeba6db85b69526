#pragma once

#include "Platform/Port.h"

#include <QPoint>

#include <functional>
#include <memory>
#include <optional>

namespace corvid {

/** Sees the clicks that go to other programs. Main thread only. */
class ClickMonitor : public Port {
public:
    /** A monitor in force; destroying it removes it. */
    class Token : public Port {};

    /** Told the pointer's place at a press of the left or right button outside our own windows,
        in device-independent pixels as QCursor::pos(); nothing where places are not told. Runs
        amid the window system's event: it must not remove the monitor then and there. */
    using Handler = std::function<void(const std::optional<QPoint> &pointer)>;

    /** Null when the window system does not let us see them. The monitor must outlive the token.
        One that is not in force costs nothing. */
    virtual std::unique_ptr<Token> install(Handler handler) = 0;
};

} // namespace corvid
