#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

namespace corvid {

/**
 * Tells an X11 desktop what is being started, by the freedesktop startup notification protocol, so
 * that a window that appears late still comes to the front and the desktop can show that it is
 * busy. One for one launch; connects at the first need. Its calls wait for the X server: use it on
 * one background thread. Without a display there are no ids and nothing else happens.
 */
class StartupNotifier {
public:
    /** `display`: as in $DISPLAY; empty for none. */
    explicit StartupNotifier(QByteArray display);
    StartupNotifier(const StartupNotifier &) = delete;
    StartupNotifier &operator=(const StartupNotifier &) = delete;
    ~StartupNotifier();

    struct Application {
        QString entryPath;
        QString name;
        QString icon;
        QString windowClass; ///< StartupWMClass; may be empty
    };

    enum class Announcement {
        Silent, ///< the program may never say that it has started
        Public,
    };

    /** A new id, which carries the server's present time, for a program that is about to be
        started; empty without a display. */
    QByteArray begin(const Application &application, Announcement announcement);

    /** What has this id could not be started. */
    void cancel(const QByteArray &id);

    /** Ends every public announcement when the program or the window manager does so, or its window
        appears; after 15 seconds at the latest, or once the descriptor is readable. */
    void finish(int stopDescriptor);

private:
    class Connection;

    bool connect();
    void end(const QByteArray &id);

    QByteArray display_;
    std::unique_ptr<Connection> connection_;
    std::vector<QByteArray> open_; ///< ids that were announced and have not ended
};

/** One message of the protocol, "new" with all that is known or "remove" with the id alone. Pure.
 */
QByteArray startupMessage(const QByteArray &kind,
                          const std::vector<std::pair<QByteArray, QByteArray>> &values);

/** The id that a "remove" message ends; empty for any other message. Pure. */
QByteArray removedStartupId(const QByteArray &message);

} // namespace corvid
