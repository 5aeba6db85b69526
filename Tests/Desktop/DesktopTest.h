#pragma once

#include "Worlds/LaunchWorld.h"
#include "Worlds/XServer.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace corvid::test {

inline const QString executable = QStringLiteral(CORVID_BUILD_FOLDER "/corvid");

/** A home folder with one application, one editor bundle and one project. */
class Home {
public:
    Home() {
        writeTracingProgram(path(u"bin/frobnicator"_s), path(u"app.trace"_s));
        writeFile(path(u".local/share/applications/org.example.Frobnicator.desktop"_s),
                  u"[Desktop Entry]\nType=Application\nName=Frobnicator\nExec=%1 --new\n"
                  "Actions=quiet;\n[Desktop Action quiet]\nName=Stay Quiet\n"
                  "Exec=%1 --quiet\n"_s.arg(path(u"bin/frobnicator"_s)));
        writeFile(path(u"Applications/Editor.app/Contents/Info.plist"_s),
                  u"<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                  "<key>CFBundleIdentifier</key><string>com.microsoft.VSCode</string>"
                  "<key>CFBundleName</key><string>Visual Studio Code</string></dict></plist>"_s);
        writeTracingProgram(path(u"Applications/Editor.app/Contents/Resources/app/bin/code"_s),
                            path(u"editor.trace"_s));
        writeFile(path(u"Code/my web/package.json"_s), u"{}"_s);
        writeFile(path(u"Code/frobs/Makefile"_s), QString());
        // Alt+K: openbox keeps Alt+Space for itself.
        writeFile(path(u".config/Corvid/defaults.json"_s),
                  u"{\"hotkeyKeyCode\": 40, \"hotkeyModifiers\": 2048}"_s);
    }

    QString path(const QString &relative) const { return folder_.filePath(relative); }

    QProcessEnvironment environment(QProcessEnvironment base) const {
        base.insert(u"HOME"_s, folder_.path());
        base.insert(u"XDG_DATA_DIRS"_s, folder_.path());
        // On the developer's own bus another Corvid may run.
        base.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
        for (const QString &name :
             {u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_STATE_HOME"_s, u"XDG_CACHE_HOME"_s,
              u"QT_QPA_PLATFORM"_s, u"WAYLAND_DISPLAY"_s})
            base.remove(name);
        return base;
    }

    /** What the program wrote into its settings. */
    QJsonObject defaults() const {
        return QJsonDocument::fromJson(readFile(path(u".config/Corvid/defaults.json"_s)).toUtf8())
            .object();
    }

    /** Until the first scans are done there is nothing to be found. */
    bool waitForCatalogs() const {
        return eventually([this] {
            return readFile(path(u".local/share/Corvid/catalog.json"_s)).contains(u"Frobnic"_s) &&
                   readFile(path(u".local/share/Corvid/projects.json"_s)).contains(u"my web"_s);
        });
    }

private:
    QTemporaryDir folder_;
};

/** The program on an X server of its own, driven by real keys and clicks. */
class DesktopTest : public ::testing::Test {
protected:
    explicit DesktopTest(XServer::Manager manager = XServer::Manager::Openbox,
                         const QString &screen = u"800x600x24"_s)
        : server(manager, screen) {}
    ~DesktopTest() override {
        program.terminate();
        if (!program.waitForFinished(30'000))
            program.kill();
        program.waitForFinished();
    }

    /** Returns when the panel is there, with the keyboard and all that it can find. */
    void launch(const QStringList &options = {}, const QProcessEnvironment &additional = {}) {
        makeDependent(program);
        QProcessEnvironment environment = home.environment(server.environment());
        environment.insert(additional);
        program.setProcessEnvironment(environment);
        program.start(executable, QStringList{u"--show"_s} + options);
        EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); })) << "no focused panel";
        EXPECT_TRUE(home.waitForCatalogs());
    }

    QString run(const QString &tool, const QStringList &arguments) const {
        QProcess process;
        process.setProcessEnvironment(server.environment());
        process.start(tool, arguments);
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }
    QString xdotool(const QStringList &arguments) const { return run(u"xdotool"_s, arguments); }
    /** The X focus, not the window manager's word: it announces a window before keys go there. */
    bool panelHasKeyboard() const {
        return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) == u"Corvid";
    }
    bool panelIsVisible() const {
        return !xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s}).isEmpty();
    }
    void type(const QString &text) const { xdotool({u"type"_s, u"--delay"_s, u"1"_s, text}); }
    void press(const QString &key) const { xdotool({u"key"_s, key}); }

    QStringList startedWith() const { return Trace(home.path(u"app.trace"_s)).arguments(); }

    Home home;
    XServer server;
    QProcess program;
};

/** What the application was given, when it was opened as its desktop entry says. */
inline const QStringList asItsEntrySays{u"--new"_s};

} // namespace corvid::test
