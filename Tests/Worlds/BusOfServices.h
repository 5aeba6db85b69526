#pragma once

#include "Worlds/Dependent.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvid::test {

/** A session bus that starts the services named, of those that are installed on this machine. The
    others must not come along: some never end, not even with the bus. */
class BusOfServices {
public:
    explicit BusOfServices(
        const QStringList &services,
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment()) {
        using namespace Qt::Literals::StringLiterals;
        for (const QString &service : services) {
            const QString file = service + ".service"_L1;
            EXPECT_TRUE(
                QFile::link("/usr/share/dbus-1/services/"_L1 + file, folder_.filePath(file)));
        }
        QFile configuration(folder_.filePath(u"session.conf"_s));
        EXPECT_TRUE(configuration.open(QIODevice::WriteOnly));
        configuration.write(
            u"<busconfig><type>session</type><listen>unix:dir=%1</listen><auth>EXTERNAL</auth>"
            "<servicedir>%1</servicedir>"
            "<policy context='default'><allow send_destination='*' eavesdrop='true'/>"
            "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>"_s.arg(folder_.path())
                .toUtf8());
        configuration.close();
        makeDependent(daemon_);
        daemon_.setProcessEnvironment(environment);
        daemon_.start(u"dbus-daemon"_s, {u"--config-file"_s, configuration.fileName(),
                                         u"--nofork"_s, u"--print-address"_s});
        EXPECT_TRUE(daemon_.waitForReadyRead(60'000)) << "no session bus";
        address_ = QString::fromLatin1(daemon_.readLine().trimmed());
    }
    BusOfServices(const BusOfServices &) = delete;
    BusOfServices &operator=(const BusOfServices &) = delete;
    ~BusOfServices() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }

    const QString &address() const { return address_; }

private:
    QTemporaryDir folder_;
    QProcess daemon_;
    QString address_;
};

} // namespace corvid::test
