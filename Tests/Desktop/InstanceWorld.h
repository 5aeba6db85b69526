#pragma once

#include "Worlds/LaunchWorld.h"
#include "Worlds/XServer.h"

#include <gio/gio.h>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <vector>

namespace corvid::test {

inline const QString executable = QStringLiteral(CORVID_BUILD_FOLDER "/corvid");
inline const QString noBus = u"disabled:"_s;

/** A session bus that can start the program, as an installed one is started. */
class ActivatingBus {
public:
    ActivatingBus(const QTemporaryDir &folder, const QProcessEnvironment &environment) {
        writeFile(folder.filePath(u"bus.conf"_s),
                  u"<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                  "<servicedir>%1</servicedir><policy context=\"default\"><allow own=\"*\"/>"
                  "<allow send_destination=\"*\"/><allow eavesdrop=\"true\"/></policy>"
                  "</busconfig>"_s.arg(folder.path()));
        writeFile(folder.filePath(u"app.corvid.Launcher.service"_s),
                  u"[D-BUS Service]\nName=app.corvid.Launcher\nExec=%1\n"_s.arg(executable));
        makeDependent(daemon_);
        daemon_.setProcessEnvironment(environment);
        daemon_.start(u"dbus-daemon"_s, {u"--config-file"_s, folder.filePath(u"bus.conf"_s),
                                         u"--nofork"_s, u"--print-address"_s});
        EXPECT_TRUE(daemon_.waitForReadyRead(60'000));
        address_ = QString::fromUtf8(daemon_.readLine().trimmed());
    }
    ActivatingBus(const ActivatingBus &) = delete;
    ActivatingBus &operator=(const ActivatingBus &) = delete;
    ~ActivatingBus() { end(); }

    const QString &address() const { return address_; }
    /** From here on it answers nobody until it goes on. */
    void pause() { kill(static_cast<pid_t>(daemon_.processId()), SIGSTOP); }
    void goOn() { kill(static_cast<pid_t>(daemon_.processId()), SIGCONT); }
    void end() {
        daemon_.kill();
        daemon_.waitForFinished();
    }

private:
    QProcess daemon_;
    QString address_;
};

struct Ended {
    int exitCode = -1;
    QString standardOutput;
    QString standardError;
};

/** Starts of the program on one session bus, with a real X server, bus and window manager. */
class SingleInstanceTest : public ::testing::Test {
protected:
    SingleInstanceTest() {
        connection = g_dbus_connection_new_for_address_sync(
            qPrintable(bus.address()),
            GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        EXPECT_TRUE(connection);
    }
    ~SingleInstanceTest() override {
        g_object_unref(connection);
        for (const auto &process : processes) {
            // It may have been stopped by its test.
            if (process->state() != QProcess::NotRunning)
                kill(static_cast<pid_t>(process->processId()), SIGCONT);
            process->terminate();
            if (!process->waitForFinished(30'000))
                process->kill();
            process->waitForFinished();
        }
    }

    static QProcessEnvironment surroundings(const QTemporaryDir &folder, const XServer &server) {
        writeFile(folder.filePath(u".config/Corvid/defaults.json"_s),
                  u"{\"hotkeyKeyCode\": 40, \"hotkeyModifiers\": 2048}"_s); // Alt+K
        QProcessEnvironment result = server.environment();
        result.insert(u"HOME"_s, folder.path());
        result.insert(u"XDG_DATA_DIRS"_s, folder.path());
        for (const QString &name :
             {u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_ACTIVATION_TOKEN"_s,
              u"DESKTOP_STARTUP_ID"_s, u"QT_QPA_PLATFORM"_s})
            result.remove(name);
        return result;
    }

    QProcess &start(const QStringList &arguments) {
        QProcess &process = *processes.emplace_back(std::make_unique<QProcess>());
        makeDependent(process);
        process.setProcessEnvironment(environment);
        process.start(executable, arguments);
        EXPECT_TRUE(process.waitForStarted());
        return process;
    }
    static Ended ended(QProcess &process) {
        Ended result;
        if (!eventually([&] { return process.state() == QProcess::NotRunning; })) {
            ADD_FAILURE() << "it runs on";
            return result;
        }
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    /** Starts it and waits for its end. */
    Ended run(const QStringList &arguments) { return ended(start(arguments)); }
    static bool runs(const QProcess &process) { return process.state() == QProcess::Running; }

    QString xdotool(const QStringList &arguments) const {
        QProcess tool;
        tool.setProcessEnvironment(environment);
        tool.start(u"xdotool"_s, arguments);
        tool.waitForFinished();
        return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
    }
    bool panelIsVisible() const {
        return !xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s}).isEmpty();
    }
    bool showsPanel() const {
        return eventually([this] { return panelIsVisible(); });
    }
    bool hidesPanel() const {
        return eventually([this] { return !panelIsVisible(); });
    }
    bool panelHasKeyboard() const {
        return eventually([this] {
            return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) == u"Corvid";
        });
    }

    bool hasOwner() const {
        GVariant *reply = g_dbus_connection_call_sync(
            connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "NameHasOwner", g_variant_new("(s)", "app.corvid.Launcher"), G_VARIANT_TYPE("(b)"),
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        gboolean owned = FALSE;
        if (reply) {
            g_variant_get(reply, "(b)", &owned);
            g_variant_unref(reply);
        }
        return owned;
    }
    /** Calls the instance, which the bus starts if need be; the error's message, or nothing. */
    QString call(const char *method, GVariant *arguments) const {
        GError *error = nullptr;
        GVariant *reply = g_dbus_connection_call_sync(
            connection, "app.corvid.Launcher", "/app/corvid/Launcher",
            "org.freedesktop.Application", method, arguments, G_VARIANT_TYPE("()"),
            G_DBUS_CALL_FLAGS_NONE, 10'000, nullptr, &error);
        if (reply)
            g_variant_unref(reply);
        const QString message = error ? QString::fromUtf8(error->message) : QString();
        g_clear_error(&error);
        return message;
    }
    static GVariant *nothing(const char *type) {
        return g_variant_new_array(G_VARIANT_TYPE(type), nullptr, 0);
    }
    QString activateAction(const char *action) const {
        return call("ActivateAction",
                    g_variant_new("(s@av@a{sv})", action, nothing("v"), nothing("{sv}")));
    }
    /** Starts the first instance, which stays hidden, and waits until it can be called. */
    QProcess &startHidden() {
        QProcess &first = start({});
        EXPECT_TRUE(eventually([this] { return hasOwner(); }));
        return first;
    }

    QTemporaryDir folder;
    XServer server;
    QProcessEnvironment environment = surroundings(folder, server);
    ActivatingBus bus{folder, environment};
    GDBusConnection *connection = nullptr;
    std::vector<std::unique_ptr<QProcess>> processes;
    const bool onOurBus = [this] {
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        return true;
    }();
};

} // namespace corvid::test
