#pragma once

#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"
#include "Worlds/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include <unistd.h>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

inline QString readFile(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

inline void writeFile(const QString &path, const QString &content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
    file.write(content.toUtf8());
}

/** A program that leaves a trace: what it was given and how it was started. */
inline void writeTracingProgram(const QString &path, const QString &trace) {
    writeFile(path, u"#!/bin/sh\n"
                    "{\n"
                    "  for a in \"$@\"; do echo \"arg:$a\"; done\n"
                    "  for i in 0 1 2; do echo \"stream:$(readlink /proc/$$/fd/$i)\"; done\n"
                    "  echo \"pid:$$\"\n"
                    "  echo \"cwd:$(pwd -P)\"\n"
                    "  echo \"stat:$(sed 's/.*) //' /proc/$$/stat)\"\n"
                    "  env | sed 's/^/env:/'\n"
                    "} > '%1.part'\n"
                    "mv '%1.part' '%1'\n"_s.arg(trace));
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/** What such a program left. */
struct Trace {
    explicit Trace(const QString &path) {
        if (!eventually([&] { return QFile::exists(path); }))
            ADD_FAILURE() << "no trace at " << qPrintable(path);
        lines = readFile(path).split(u'\n', Qt::SkipEmptyParts);
    }
    QStringList all(const QString &kind) const {
        QStringList result;
        for (const QString &line : lines)
            if (line.startsWith(kind + u':'))
                result.append(line.mid(kind.size() + 1));
        return result;
    }
    QStringList arguments() const { return all(u"arg"_s); }
    QString workingFolder() const { return all(u"cwd"_s).value(0); }
    qint64 pid() const { return all(u"pid"_s).value(0).toLongLong(); }
    /** Fields of /proc/<pid>/stat after the name: state, parent, group, session, … */
    qint64 parent() const { return all(u"stat"_s).value(0).section(u' ', 1, 1).toLongLong(); }
    qint64 session() const { return all(u"stat"_s).value(0).section(u' ', 3, 3).toLongLong(); }
    std::optional<QString> variable(const QString &name) const {
        for (const QString &definition : all(u"env"_s))
            if (definition.startsWith(name + u'='))
                return definition.mid(name.size() + 1);
        return std::nullopt;
    }

    QStringList lines;
};

/** What tells a bus to start no services: those of the developer's desktop would get in the way. */
inline const QStringList busWithoutServices{
    u"--config-file"_s, QStringLiteral(CORVID_TEST_FIXTURES "/session-bus.conf"), u"--nofork"_s,
    u"--print-address"_s};

/** A session bus of the test program's own, with no service on it and none to be activated; or
    another bus, whose address the variable tells. */
class PrivateBus : public ::testing::Environment {
public:
    explicit PrivateBus(const char *variable = "DBUS_SESSION_BUS_ADDRESS") : variable_(variable) {}
    void SetUp() override {
        makeDependent(daemon_);
        daemon_.start(u"dbus-daemon"_s, busWithoutServices);
        ASSERT_TRUE(daemon_.waitForReadyRead(60'000));
        address_ = daemon_.readLine().trimmed();
        qputenv(variable_, address_);
    }
    void TearDown() override {
        daemon_.terminate();
        daemon_.waitForFinished();
    }

    QString address() const { return QString::fromLatin1(address_); }
    /** From here on it answers nobody until it goes on. */
    void pause() { kill(static_cast<pid_t>(daemon_.processId()), SIGSTOP); }
    void goOn() { kill(static_cast<pid_t>(daemon_.processId()), SIGCONT); }

private:
    const char *variable_;
    QProcess daemon_;
    QByteArray address_;
};

/** Services on that bus, or on the one whose address is given; see Helpers/BusServices.cpp. Gone
    when destroyed. */
class BusServices {
public:
    BusServices(const QString &trace, const QStringList &arguments, const QString &bus = {}) {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        if (!bus.isEmpty()) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus);
            process_.setProcessEnvironment(environment);
        }
        QStringList all = arguments;
        const auto name = std::ranges::find_if(
            all, [](const QString &argument) { return !argument.startsWith("--"_L1); });
        all.insert(name - all.begin(), trace);
        process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_bus_services"), all);
        EXPECT_TRUE(process_.waitForReadyRead(60'000));
    }
    ~BusServices() {
        goOn();
        process_.closeWriteChannel();
        process_.waitForFinished();
    }

    /** From here on they answer nobody until they go on. */
    void pause() { kill(static_cast<pid_t>(process_.processId()), SIGSTOP); }
    void goOn() { kill(static_cast<pid_t>(process_.processId()), SIGCONT); }

private:
    QProcess process_;
};

} // namespace corvid::test
