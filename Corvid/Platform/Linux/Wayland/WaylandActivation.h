#pragma once

#include <QByteArray>

#include <functional>
#include <memory>

namespace corvid {

class WaylandConnection;

/** Gives tokens by which programs that the user starts from our windows may come to the front, to
    be asked for on the main thread while our window still has the keyboard. Each call waits for
    the compositor, at most for half a second; empty when there is no token. Null where the
   compositor has none to give, or there is nothing to type or click with. `connection` is Qt's;
   what this returns must be gone before the application object. */
std::function<QByteArray()> activationTokens(std::shared_ptr<WaylandConnection> connection);

} // namespace corvid
