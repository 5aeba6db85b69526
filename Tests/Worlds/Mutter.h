#pragma once

#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

/**
 * A Wayland compositor of the test's own that has no layer shell, with one output of 1280 × 800
 * that exists in memory only, an XWayland and a session bus. Gone when destroyed.
 */
class Mutter {
public:
    Mutter() {
        QFile::setPermissions(folder_.path(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        makeDependent(bus_);
        bus_.setProcessEnvironment(environment());
        bus_.start(u"dbus-daemon"_s,
                   {u"--config-file"_s, QStringLiteral(CORVID_TEST_FIXTURES "/session-bus.conf"),
                    u"--nofork"_s, u"--print-address"_s});
        EXPECT_TRUE(bus_.waitForReadyRead(60'000)) << "no session bus";
        busAddress_ = QString::fromLatin1(bus_.readLine().trimmed());
        QProcessEnvironment own = environment();
        own.insert(u"GSETTINGS_BACKEND"_s, u"memory"_s);
        own.insert(u"XDG_DATA_DIRS"_s, u"/usr/share"_s); // its settings' descriptions
        makeDependent(server_);
        server_.setProcessEnvironment(own);
        server_.setProcessChannelMode(QProcess::MergedChannels);
        server_.start(u"mutter"_s, {u"--wayland"_s, u"--headless"_s, u"--virtual-monitor"_s,
                                    u"1280x800"_s, u"--wayland-display"_s, u"wayland-test"_s});
        QByteArray log;
        EXPECT_TRUE(eventually(
            [&] {
                log += server_.readAll();
                return log.contains("Using Wayland display name");
            },
            30'000))
            << "no compositor: " << log.constData();
        display_ = QString::fromLatin1(log.mid(log.indexOf("public X11 display ") + 19));
        display_.truncate(display_.indexOf(u','));
        const QStringList keys =
            QDir(folder_.path())
                .entryList({u".mutter-Xwaylandauth*"_s}, QDir::Files | QDir::Hidden);
        EXPECT_EQ(keys.size(), 1);
        xAuthority_ = folder_.filePath(keys.value(0));
    }
    Mutter(const Mutter &) = delete;
    Mutter &operator=(const Mutter &) = delete;
    ~Mutter() {
        for (QProcess *process : {&server_, &bus_}) {
            process->terminate();
            if (!process->waitForFinished(30'000))
                process->kill();
            process->waitForFinished();
        }
    }

    /** For what runs on it. */
    QProcessEnvironment environment() const {
        QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
        for (const QString &name :
             {u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_CACHE_HOME"_s, u"QT_QPA_PLATFORM"_s,
              u"CORVID_PLATFORM"_s, u"XDG_SESSION_TYPE"_s, u"XDG_CURRENT_DESKTOP"_s})
            result.remove(name);
        result.insert(u"HOME"_s, folder_.path());
        result.insert(u"XDG_RUNTIME_DIR"_s, folder_.path());
        result.insert(u"XDG_DATA_DIRS"_s, folder_.path());
        result.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, busAddress_);
        result.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
        result.insert(u"WAYLAND_DISPLAY"_s, u"wayland-test"_s);
        result.insert(u"DISPLAY"_s, display_);
        result.insert(u"XAUTHORITY"_s, xAuthority_);
        return result;
    }

private:
    QTemporaryDir folder_;
    QString busAddress_ = u"disabled:"_s;
    QString display_;
    QString xAuthority_;
    QProcess bus_;
    QProcess server_;
};

} // namespace corvid::test
