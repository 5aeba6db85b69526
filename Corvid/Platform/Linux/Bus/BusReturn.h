#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct DBusConnection;
struct DBusWatch;

namespace corvid {

/**
 * Waits for a bus that did not answer: says hello on a connection of its own, and calls back once
 * when that is answered. A bus that goes instead is not waited for any more. Main thread only,
 * which is woken by the bus alone and never waits.
 */
class BusReturn {
public:
    BusReturn(const std::string &address, std::function<void()> answered);
    Q_DISABLE_COPY_MOVE(BusReturn)
    ~BusReturn();

private:
    struct Close {
        void operator()(DBusConnection *connection) const;
    };

    void watch(DBusWatch *file);
    void read();

    std::function<void()> answered_; ///< empty once it was called
    quint32 hello_ = 0;              ///< its serial number
    /** One for each thing that the connection waits for; those that it does so no more are off. */
    std::vector<std::unique_ptr<QSocketNotifier>> notifiers_;
    std::unique_ptr<DBusConnection, Close> connection_; ///< null where there is none
};

} // namespace corvid
