#pragma once

#include "Worlds/BusOfServices.h"
#include "Worlds/Dependent.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <optional>
#include <vector>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

/** An X server of the test's own, with a window manager if asked for. Gone when destroyed. */
class XServer {
public:
    enum class Manager {
        None,
        Openbox,
        Xfwm4,
        WaryXfwm4, ///< lets no window take the focus that the user did not ask for
    };

    explicit XServer(Manager manager = Manager::Openbox, const QString &screen = u"800x600x24"_s) {
        makeDependent(server_);
        server_.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, screen,
                                  u"-nolisten"_s, u"tcp"_s, u"-noreset"_s});
        if (!server_.waitForStarted() || !server_.waitForReadyRead(60'000)) {
            ADD_FAILURE() << "no X server";
            return;
        }
        display_ = ':' + server_.readLine().trimmed();
        changeKeyboards();
        if (manager != Manager::None)
            startManager(manager);
    }
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;
    ~XServer() {
        for (const auto &window : warmUp_)
            stop(*window);
        stop(manager_);
        stop(server_);
    }

    /** Returns when windows are managed. */
    void startManager(Manager manager = Manager::Openbox) {
        makeDependent(manager_);
        if (manager == Manager::Xfwm4 || manager == Manager::WaryXfwm4) {
            if (manager == Manager::WaryXfwm4)
                preventFocusStealing();
            manager_.setProcessEnvironment(environmentWithSettings());
            manager_.start(u"xfwm4"_s, {u"--compositor=off"_s});
        } else {
            manager_.setProcessEnvironment(environment());
            manager_.start(u"openbox"_s, {u"--sm-disable"_s});
        }
        EXPECT_TRUE(manager_.waitForStarted());
        // While one starts it may leave a window alone until the next event wakes it. These
        // windows stay: a later one with the number of one that is gone may be taken for it. Each
        // is awaited: one that comes late would take the focus from the test's own.
        for (int attempt = 0; attempt < 40; ++attempt) {
            QProcess &window = *warmUp_.emplace_back(std::make_unique<QProcess>());
            makeDependent(window);
            window.setProcessEnvironment(environment());
            window.start(helper(), {u"warm"_s, u"Up"_s, u"--managed"_s});
            if (std::all_of(warmUp_.begin(), warmUp_.end(), [](const auto &each) {
                    return each->bytesAvailable() > 0 || each->waitForReadyRead(500);
                }))
                return;
        }
        ADD_FAILURE() << "no window manager";
    }

    static QString helper() {
        return QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_x11_client");
    }

    const QByteArray &display() const { return display_; }

    QProcessEnvironment environment() const {
        QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
        result.insert(u"DISPLAY"_s, QString::fromLatin1(display_));
        result.remove(u"WAYLAND_DISPLAY"_s);
        return result;
    }

    /** The manager no longer reacts to anything. */
    void pauseManager() { ::kill(static_cast<pid_t>(manager_.processId()), SIGSTOP); }

    /** The server answers nobody until it goes on. */
    void pause() { ::kill(static_cast<pid_t>(server_.processId()), SIGSTOP); }
    void goOn() { ::kill(static_cast<pid_t>(server_.processId()), SIGCONT); }

    void endServer() { stop(server_); }

private:
    // At the first key of a new server, which is lost. Before there is a manager: one lets all of
    // its keys go for it, some time later.
    void changeKeyboards() const {
        QProcess key;
        key.setProcessEnvironment(environment());
        key.start(u"xdotool"_s, {u"key"_s, u"Shift_L"_s});
        EXPECT_TRUE(key.waitForFinished());
    }

    // xfwm4 reads its settings from a service on the session bus, which keeps them in the home
    // folder; both are its own here.
    QProcessEnvironment environmentWithSettings() {
        QProcessEnvironment result = environment();
        result.insert(u"HOME"_s, managersHome_.path());
        result.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
        for (const QString &name : {u"XDG_CONFIG_HOME"_s, u"XDG_CACHE_HOME"_s, u"XDG_DATA_HOME"_s})
            result.remove(name);
        managersBus_.emplace(QStringList{u"org.xfce.Xfconf"_s}, result);
        result.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, managersBus_->address());
        return result;
    }

    void preventFocusStealing() {
        const QString folder =
            managersHome_.filePath(u".config/xfce4/xfconf/xfce-perchannel-xml"_s);
        QFile file(folder + "/xfwm4.xml"_L1);
        ASSERT_TRUE(QDir().mkpath(folder) && file.open(QIODevice::WriteOnly));
        file.write("<?xml version=\"1.0\"?><channel name=\"xfwm4\" version=\"1.0\">"
                   "<property name=\"general\" type=\"empty\">"
                   "<property name=\"prevent_focus_stealing\" type=\"bool\" value=\"true\"/>"
                   "</property></channel>");
    }

    static void stop(QProcess &process) {
        if (process.state() == QProcess::NotRunning)
            return;
        process.kill();
        process.waitForFinished();
    }

    QProcess server_;
    QTemporaryDir managersHome_;
    std::optional<BusOfServices> managersBus_;
    QProcess manager_;
    std::vector<std::unique_ptr<QProcess>> warmUp_;
    QByteArray display_;
};

/** A window on it; see Helpers/X11Client.cpp. Gone when destroyed. */
class XClient {
public:
    XClient(const XServer &server, const QStringList &arguments,
            const QString &program = XServer::helper()) {
        makeDependent(process_);
        process_.setProcessEnvironment(server.environment());
        process_.start(program, arguments);
        EXPECT_TRUE(process_.waitForReadyRead(60'000)) << "no window";
        window_ = QString::fromLatin1(process_.readLine().trimmed());
    }
    XClient(const XClient &) = delete;
    XClient &operator=(const XClient &) = delete;
    ~XClient() { kill(); }

    /** Returns when the process is gone; its window may be there a moment longer. */
    void kill() {
        process_.kill();
        process_.waitForFinished();
    }

    const QString &window() const { return window_; }

private:
    QProcess process_;
    QString window_;
};

} // namespace corvid::test
