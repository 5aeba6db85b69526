#pragma once

#include "Platform/Linux/Secrets/SessionSecretStore.h"
#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

inline const QString keyAccount = u"ai-api-key"_s;

/** A session bus of the test program's own on which a Secret Service can be started by the bus:
    one that never comes up, once activatable() was called. */
class SecretsBus : public ::testing::Environment {
public:
    void SetUp() override {
        QFile configuration(folder_.filePath(u"session.conf"_s));
        ASSERT_TRUE(configuration.open(QIODevice::WriteOnly));
        configuration.write(
            u"<busconfig><type>session</type><listen>unix:dir=%1</listen>"
            "<servicedir>%1/services</servicedir>"
            "<policy context='default'><allow send_destination='*' eavesdrop='true'/>"
            "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>"_s.arg(folder_.path())
                .toUtf8());
        configuration.close();
        QDir(folder_.path()).mkdir(u"services"_s);
        makeDependent(daemon_);
        daemon_.start(u"dbus-daemon"_s, {u"--config-file"_s, configuration.fileName(),
                                         u"--nofork"_s, u"--print-address"_s});
        ASSERT_TRUE(daemon_.waitForReadyRead(60'000));
        qputenv("DBUS_SESSION_BUS_ADDRESS", daemon_.readLine().trimmed());
    }
    void TearDown() override { stop(); }

    void stop() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }

    /** From now on the bus starts this command for whoever asks for a Secret Service; nothing
        when it is empty. */
    void startsService(const QString &command) {
        const QString path = folder_.filePath(u"services/org.freedesktop.secrets.service"_s);
        QFile file(path);
        if (command.isEmpty()) {
            file.remove();
        } else {
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(u"[D-BUS Service]\nName=org.freedesktop.secrets\nExec=%1\n"_s.arg(command)
                           .toUtf8());
            file.close();
        }
        QProcess::execute(u"dbus-send"_s,
                          {u"--session"_s, u"--print-reply=literal"_s,
                           u"--dest=org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                           u"org.freedesktop.DBus.ReloadConfig"_s});
    }

private:
    QTemporaryDir folder_;
    QProcess daemon_;
};

/** A home of its own for each test, where secrets can be stored. */
class SecretsHome {
public:
    SecretsHome() {
        qputenv("HOME", folder_.path().toLocal8Bit());
        qputenv("XDG_DATA_HOME", path(u"data"_s).toLocal8Bit());
        qputenv("XDG_STATE_HOME", path(u"state"_s).toLocal8Bit());
    }
    ~SecretsHome() {
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_STATE_HOME");
    }
    QString path(const QString &relative) const { return folder_.filePath(relative); }
    QString secretsFile() const { return path(u"data/Corvid/Keychain/secrets"_s); }
    QString keyFile() const { return path(u"state/Corvid/keychain.key"_s); }

private:
    QTemporaryDir folder_;
};

/** The longest time for which the event loop did not come round, watched while it lives. */
class LongestGap {
public:
    LongestGap() {
        last_.start();
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { look(); });
        timer_.start(0);
    }
    qint64 milliseconds() {
        look();
        return longest_ / 1'000'000;
    }
    double exactMilliseconds() const { return static_cast<double>(longest_) / 1e6; }

private:
    void look() {
        longest_ = std::max(longest_, last_.nsecsElapsed());
        last_.restart();
    }
    QElapsedTimer last_;
    qint64 longest_ = 0;
    QTimer timer_;
};

inline bool becomes(const SecretStore &store, const std::optional<QString> &secret) {
    return eventually([&] { return store.get(keyAccount) == secret; });
}

/** A scripted Secret Service; see Helpers/SecretServiceStub.cpp. Gone when destroyed. */
class ScriptedService {
public:
    explicit ScriptedService(const QStringList &arguments = {}) {
        makeDependent(process_);
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_secret_service"),
                       QStringList{trace_.filePath(u"trace"_s)} + arguments);
        EXPECT_TRUE(process_.waitForReadyRead(60'000));
    }
    ~ScriptedService() {
        process_.closeWriteChannel();
        process_.waitForFinished();
    }
    /** The names of the methods called so far. */
    QStringList calls() const {
        QFile file(trace_.filePath(u"trace"_s));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

private:
    QTemporaryDir trace_;
    QProcess process_;
};

} // namespace corvid::test
