#pragma once

#include "Worlds/LaunchWorld.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

namespace corvid::test {

/** What shows notifications, on the session bus of the environment; see Helpers/BusServices.cpp.
   All that it shows has the number 7. Gone when destroyed. */
class NotificationService {
public:
    static inline const QStringList withEverything{
        u"--answer=GetCapabilities=(['actions','body','body-markup'],)"_s,
        u"--answer=Notify=(uint32 7,)"_s};
    static inline const QStringList withButtons{u"--answer=GetCapabilities=(['actions','body'],)"_s,
                                                u"--answer=Notify=(uint32 7,)"_s};

    /** `trace`: the file of the calls. */
    explicit NotificationService(
        const QString &trace, const QStringList &answers = withButtons,
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
        void (*prepare)(QProcess &) = makeDependent)
        : trace_(trace) {
        prepare(process_);
        process_.setProcessEnvironment(environment);
        process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_bus_services"),
                       answers + QStringList{trace, u"org.freedesktop.Notifications"_s});
        EXPECT_TRUE(process_.waitForReadyRead(60'000));
    }
    NotificationService(const NotificationService &) = delete;
    NotificationService &operator=(const NotificationService &) = delete;
    ~NotificationService() {
        process_.closeWriteChannel();
        process_.waitForFinished();
    }

    /** A signal's name and values, as GLib writes them. */
    void signal(const QString &what) {
        process_.write("/org/freedesktop/Notifications org.freedesktop.Notifications " +
                       what.toUtf8() + '\n');
        process_.waitForBytesWritten();
    }
    void pressButton() { signal(u"ActionInvoked (uint32 7, 'show')"_s); }

    /** The calls that were to show something. */
    QStringList notices() const {
        QStringList notices;
        for (const QString &call : calls())
            if (call.startsWith("org.freedesktop.Notifications.Notify "_L1))
                notices.append(call);
        return notices;
    }
    QStringList calls() const { return readFile(trace_).split(u'\n', Qt::SkipEmptyParts); }
    /** The first thing that is shown, which this waits for. */
    QString firstNotice() const {
        EXPECT_TRUE(eventually([this] { return !notices().isEmpty(); }));
        return notices().value(0);
    }

private:
    const QString trace_;
    QProcess process_;
};

} // namespace corvid::test
