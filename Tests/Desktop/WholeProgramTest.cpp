// The whole program as a person uses it: a real X server with a window manager, real key presses,
// real applications and projects.

#include "LaunchWorld.h"
#include "XServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString executable = QStringLiteral(CORVID_BUILD_FOLDER "/corvid");

/** A home folder with one application, one editor bundle and one project. */
class Home {
public:
    Home() {
        writeTracingProgram(path(u"bin/frobnicator"_s), path(u"app.trace"_s));
        writeFile(path(u".local/share/applications/org.example.Frobnicator.desktop"_s),
                  u"[Desktop Entry]\nType=Application\nName=Frobnicator\nExec=%1 --new\n"_s.arg(
                      path(u"bin/frobnicator"_s)));
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
             {u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"QT_QPA_PLATFORM"_s, u"WAYLAND_DISPLAY"_s})
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

class WholeProgramTest : public ::testing::Test {
protected:
    WholeProgramTest() {
        // The first key of a new server is lost: the keyboard changes devices, and the window
        // manager grabs its keys anew.
        press(u"Shift_L"_s);
        makeDependent(program);
        program.setProcessEnvironment(home.environment(server.environment()));
        program.start(executable, {u"--show"_s});
        EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); })) << "no focused panel";
        EXPECT_TRUE(home.waitForCatalogs());
    }
    ~WholeProgramTest() override {
        program.terminate();
        if (!program.waitForFinished(5'000))
            program.kill();
        program.waitForFinished();
    }

    QString xdotool(const QStringList &arguments) const {
        QProcess tool;
        tool.setProcessEnvironment(server.environment());
        tool.start(u"xdotool"_s, arguments);
        tool.waitForFinished();
        return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
    }
    // The X focus, not the window manager's word: it announces a window before keys go there.
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

const QStringList asItsEntrySays{u"--new"_s};

struct Answer {
    int exitCode = -1;
    bool stillRuns = false; ///< after it had printed what was waited for
    QString standardError;
};

/** Runs the program where there is no display; ends it once it has printed `until`. */
Answer runWithoutDisplay(const Home &home, const QStringList &arguments,
                         const QString &until = {}) {
    QProcess program;
    makeDependent(program);
    QProcessEnvironment environment = home.environment(QProcessEnvironment::systemEnvironment());
    environment.remove(u"DISPLAY"_s);
    program.setProcessEnvironment(environment);
    program.start(executable, arguments);
    Answer answer;
    EXPECT_TRUE(eventually([&] {
        answer.standardError += QString::fromUtf8(program.readAllStandardError());
        return program.state() == QProcess::NotRunning ||
               (!until.isEmpty() && answer.standardError.contains(until));
    }));
    answer.standardError += QString::fromUtf8(program.readAllStandardError());
    if (program.state() == QProcess::NotRunning) {
        answer.exitCode = program.exitCode();
    } else {
        answer.stillRuns = true;
        program.terminate();
        program.waitForFinished();
    }
    return answer;
}

} // namespace

TEST_F(WholeProgramTest, aTypedNameAndReturnStartTheApplication) {
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"launchCounts"_s].toObject().size() == 1 &&
               home.defaults()[u"queryLatches"_s].toObject().contains(u"frobn"_s);
    }));
}

TEST_F(WholeProgramTest, aProjectInAnEditorGivesTheEditorsToolExactlyItsPath) {
    type(u"web in vscode"_s);
    press(u"Return"_s);
    const Trace trace(home.path(u"editor.trace"_s));
    EXPECT_EQ(trace.arguments(), QStringList{home.path(u"Code/my web"_s)});
    EXPECT_EQ(trace.all(u"stream"_s).mid(0, 1), QStringList{u"/dev/null"_s});
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"lastProject"_s].toObject()[u"project"_s].toString() ==
               home.path(u"Code/my web"_s);
    }));
}

TEST_F(WholeProgramTest, theArrowsMoveTheSelectionAroundBothEnds) {
    // The application first, then the project.
    type(u"frob"_s);
    press(u"Down"_s);
    press(u"Down"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays) << "around to the first row again";
    press(u"alt+k"_s);
    EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    type(u"frob"_s);
    press(u"Up"_s);
    press(u"ctrl+c"_s);
    press(u"Return"_s);
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"launchCounts"_s].toObject().contains(home.path(u"Code/frobs"_s));
    })) << "the last row";
}

TEST_F(WholeProgramTest, losingTheKeyboardHides) {
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    xdotool({u"windowfocus"_s, other.window()});
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
}

TEST_F(WholeProgramTest, controlAndADigitOpenThatRow) {
    type(u"frobn"_s);
    press(u"ctrl+1"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
}

TEST_F(WholeProgramTest, aClickOnARowOpensThatRow) {
    type(u"frobn"_s);
    const QString window = xdotool({u"getwindowfocus"_s});
    // The middle of the first row.
    xdotool({u"mousemove"_s, u"--window"_s, window, u"300"_s, u"94"_s, u"click"_s, u"1"_s});
    EXPECT_EQ(startedWith(), asItsEntrySays);
}

TEST_F(WholeProgramTest, escapeHidesAndTheProgramLivesOn) {
    press(u"Escape"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    EXPECT_EQ(program.state(), QProcess::Running);
}

TEST_F(WholeProgramTest, aTerminationSignalEndsItInOrder) {
    for (const int signal : {SIGTERM, SIGINT}) {
        if (program.state() == QProcess::NotRunning)
            program.start(executable, {u"--show"_s});
        ASSERT_TRUE(eventually([this] { return panelHasKeyboard(); }));
        kill(static_cast<pid_t>(program.processId()), signal);
        EXPECT_TRUE(eventually([this] { return program.state() == QProcess::NotRunning; }));
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.exitCode(), 0);
    }
}

TEST_F(WholeProgramTest, theHotKeyHidesAndSummonsThePanel) {
    press(u"alt+k"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    press(u"alt+k"_s);
    EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
}

TEST(WholeProgramWithoutDisplay, aQueryPrintsItsRowsAndTheEndMarkAndRunsOn) {
    const Answer answer = runWithoutDisplay(Home(), {u"--query"_s, u"2+3"_s}, u"-- end --\n"_s);
    EXPECT_EQ(answer.standardError, u"Calc\t= 5\t2+3\n-- end --\n");
    EXPECT_TRUE(answer.stillRuns);
}

TEST(WholeProgramWithoutDisplay, aQueryFindsWhatIsInstalled) {
    const Home home;
    EXPECT_EQ(
        runWithoutDisplay(home, {u"--query"_s, u"frobnicator"_s}, u"-- end --\n"_s).standardError,
        u"App\tFrobnicator\t"_s +
            home.path(u".local/share/applications/org.example.Frobnicator.desktop"_s) +
            u"\n-- end --\n"_s);
}

TEST(WholeProgramWithoutDisplay, theBenchmarkPrintsExactlyOneLineAndSucceeds) {
    const Answer answer = runWithoutDisplay(Home(), {u"--bench"_s});
    EXPECT_EQ(answer.exitCode, 0);
    static const QRegularExpression line(u"^n=200 p50=[^\\n]*\\n$"_s);
    EXPECT_TRUE(line.match(answer.standardError).hasMatch()) << qPrintable(answer.standardError);
}

TEST(WholeProgramWithoutDisplay, thePanelSaysInOneLineWhatItNeeds) {
    const Answer answer = runWithoutDisplay(Home(), {u"--show"_s});
    EXPECT_EQ(answer.exitCode, 1);
    EXPECT_EQ(answer.standardError.count(u'\n'), 1);
    EXPECT_TRUE(answer.standardError.contains(u"needs a display"_s));
}
