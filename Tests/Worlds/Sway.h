#pragma once

#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <grp.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

/**
 * A Wayland compositor of the test's own, with outputs that exist in memory only, a mouse, a
 * keyboard and a session bus. It does not run as root, and nor does what it or the test starts on
 * it: where the tests do, all of it is another user's. Gone when destroyed.
 */
class Sway {
public:
    /** `settings`: lines of its configuration. */
    explicit Sway(const QStringList &settings = {}, int outputs = 1) {
        QFile::setPermissions(folder_.path(), ownerOnly);
        writeSettings(settings);
        giveAway(folder_.path());
        startBus();
        QProcessEnvironment own = environment();
        own.insert(u"WLR_BACKENDS"_s, u"headless"_s);
        own.insert(u"WLR_HEADLESS_OUTPUTS"_s, QString::number(outputs));
        own.insert(u"WLR_RENDERER"_s, u"pixman"_s);
        own.insert(u"WLR_LIBINPUT_NO_DEVICES"_s, u"1"_s);
        prepare(server_);
        server_.setProcessEnvironment(own);
        server_.setStandardErrorFile(path(u"sway.log"_s));
        server_.start(u"sway"_s, {u"-c"_s, path(u"sway.conf"_s)});
        display_ = u"wayland-1"_s;
        const bool answers = eventually([this] {
            return !ask({u"-t"_s, u"get_outputs"_s}).isEmpty();
        });
        EXPECT_TRUE(answers) << "no compositor";
        // While no keyboard is there, keys that one brings along get lost.
        prepare(keyboard_);
        keyboard_.setProcessEnvironment(environment());
        keyboard_.start(u"wtype"_s, {u"-s"_s, u"3000000"_s});
        EXPECT_TRUE(eventually([this] {
            return ask({u"-t"_s, u"get_inputs"_s}).contains("virtual_keyboard");
        }));
    }
    Sway(const Sway &) = delete;
    Sway &operator=(const Sway &) = delete;
    ~Sway() {
        for (QProcess *process : {&mouse_, &keyboard_, &server_, &bus_}) {
            process->kill();
            process->waitForFinished();
        }
    }

    QString path(const QString &name) const { return folder_.filePath(name); }

    /** Until it goes on, it neither reads nor answers anything. */
    void halt() const { kill(static_cast<pid_t>(server_.processId()), SIGSTOP); }
    void goOn() const { kill(static_cast<pid_t>(server_.processId()), SIGCONT); }

    /** For what runs on it. */
    QProcessEnvironment environment() const {
        QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
        for (const QString &name :
             {u"DISPLAY"_s, u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_CACHE_HOME"_s,
              u"QT_QPA_PLATFORM"_s, u"CORVID_PLATFORM"_s, u"XDG_SESSION_TYPE"_s})
            result.remove(name);
        result.insert(u"HOME"_s, folder_.path());
        result.insert(u"XDG_RUNTIME_DIR"_s, folder_.path());
        result.insert(u"XDG_DATA_DIRS"_s, folder_.path());
        result.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, busAddress_);
        result.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
        result.insert(u"WAYLAND_DISPLAY"_s, display_);
        result.insert(u"SWAYSOCK"_s, path(u"sway-ipc.sock"_s));
        return result;
    }

    /** Makes the process one of the user that all this runs as, and lets it end with the test. */
    static void prepare(QProcess &process) {
        makeDependent(process);
        if (getuid() != 0)
            return;
        process.setChildProcessModifier([] {
            prctl(PR_SET_KEEPCAPS, 1);
            if (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0)
                _exit(1);
            keepAccess();
            prctl(PR_SET_PDEATHSIG, SIGKILL);
        });
    }

    /** Lets that user own a folder and all that is in it. */
    static void giveAway(const QString &folder) {
        if (getuid() == 0)
            QProcess::execute(u"chown"_s, {u"-R"_s, u"%1:%1"_s.arg(nobody), folder});
    }

    /** What a program on it prints, once it has ended. */
    QByteArray run(const QString &program, const QStringList &arguments) const {
        QProcess process;
        prepare(process);
        process.setProcessEnvironment(environment());
        process.start(program, arguments);
        process.waitForFinished();
        return process.readAllStandardOutput();
    }
    QByteArray ask(const QStringList &arguments) const { return run(u"swaymsg"_s, arguments); }
    void tell(const QString &command) const { ask({command}); }

    void type(const QString &text) const { run(u"wtype"_s, {text}); }
    void press(const QString &key, const QString &modifier = {}) const {
        run(u"wtype"_s, modifier.isEmpty()
                            ? QStringList{u"-k"_s, key}
                            : QStringList{u"-M"_s, modifier, u"-k"_s, key, u"-m"_s, modifier});
    }

    /** A mouse for a desktop of this size, before the first use of it. */
    void plugInMouse(const QSize &desktop) {
        prepare(mouse_);
        mouse_.setProcessEnvironment(environment());
        mouse_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_wayland_pointer"),
                     {QString::number(desktop.width()), QString::number(desktop.height())});
        movePointer({1, 1});
    }
    void movePointer(const QPoint &place) {
        tellMouse(u"move %1 %2"_s.arg(place.x()).arg(place.y()));
    }
    void click(const QPoint &place, int button = 272) {
        movePointer(place);
        tellMouse(u"press %1"_s.arg(button));
    }
    void hold(int button = 272) { tellMouse(u"hold %1"_s.arg(button)); }
    void release(int button = 272) { tellMouse(u"release %1"_s.arg(button)); }
    void turnWheel(const QPoint &place, int steps) {
        movePointer(place);
        tellMouse(u"wheel %1"_s.arg(steps));
    }

    /** What an output shows, in its own pixels. */
    QImage picture(const QString &output = u"HEADLESS-1"_s) const {
        return QImage::fromData(run(u"grim"_s, {u"-o"_s, output, u"-"_s}));
    }

private:
    static constexpr uid_t nobody = 65534;

    /** The program and its tests may lie in a folder that is root's alone, such as its home. */
    static void keepAccess() {
        constexpr std::uint32_t access = 1U << CAP_DAC_OVERRIDE;
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        const __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{{access, access, access}, {}};
        if (syscall(SYS_capset, &header, data) == 0)
            prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_DAC_OVERRIDE, 0, 0);
    }

    static constexpr QFile::Permissions ownerOnly =
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

    void writeSettings(const QStringList &settings) const {
        QFile file(path(u"sway.conf"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("xwayland disable\n");
        file.write("seat * hide_cursor 100\n"); // it would be in the pictures
        for (const QString &line : settings)
            file.write(line.toUtf8() + '\n');
    }

    void startBus() {
        prepare(bus_);
        bus_.setProcessEnvironment(environment());
        // Services of the developer's desktop would get in the way.
        bus_.start(u"dbus-daemon"_s,
                   {u"--config-file"_s, QStringLiteral(CORVID_TEST_FIXTURES "/session-bus.conf"),
                    u"--nofork"_s, u"--print-address"_s});
        EXPECT_TRUE(bus_.waitForReadyRead(60'000)) << "no session bus";
        busAddress_ = QString::fromLatin1(bus_.readLine().trimmed());
    }

    void tellMouse(const QString &command) {
        mouse_.write(command.toLatin1() + '\n');
        EXPECT_TRUE(mouse_.waitForReadyRead(60'000)) << "no mouse";
        mouse_.readAll();
    }

    QTemporaryDir folder_;
    QString busAddress_ = u"disabled:"_s;
    QString display_;
    QProcess bus_;
    QProcess server_;
    QProcess keyboard_;
    QProcess mouse_;
};

} // namespace corvid::test
