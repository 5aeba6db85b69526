// The whole program as a person uses it: a real X server with a window manager, real key presses,
// real applications and projects.

#include "DesktopTest.h"
#include "Worlds/EventuallyAfter.h"

#include <QJsonObject>
#include <QRegularExpression>
#include <QUrl>

#include <gtest/gtest.h>

#include <utility>

#include <sys/stat.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class WholeProgramTest : public DesktopTest {
protected:
    WholeProgramTest() { launch(); }

    /** Makes a program the default handler of a type; it leaves `<name>.trace`. */
    void handle(const QString &type, const QString &name) const {
        writeTracingProgram(home.path(u"bin/"_s + name), home.path(name + u".trace"_s));
        writeFile(home.path(u".local/share/applications/%1.desktop"_s.arg(name)),
                  u"[Desktop Entry]\nType=Application\nName=%1\nExec=%2 %u\n"_s.arg(
                      name, home.path(u"bin/"_s + name)));
        writeFile(home.path(u".config/mimeapps.list"_s),
                  u"[Default Applications]\n%1=%2.desktop\n"_s.arg(type, name));
    }
    /** Whether the selected row is that of a path. */
    bool isSelected(const QString &path) const {
        press(u"ctrl+c"_s);
        return run(u"xclip"_s, {u"-out"_s, u"-selection"_s, u"clipboard"_s}) == path;
    }

    const QString application =
        home.path(u".local/share/applications/org.example.Frobnicator.desktop"_s);
};

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

TEST_F(WholeProgramTest, anActionOfAnApplicationIsStartedByItsName) {
    type(u"frob quiet"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), QStringList{u"--quiet"_s});
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"queryLatches"_s].toObject()[u"frob quiet"_s].toString().endsWith(
            "|action|quiet"_L1);
    }));
}

TEST_F(WholeProgramTest, aTypedPathAndReturnOpenTheFileWithItsDefaultHandler) {
    handle(u"text/plain"_s, u"viewer"_s);
    const QString file = home.path(u"notes/to do"_s);
    writeFile(file, u"words\n"_s);
    type(u"~/notes/../notes/to do"_s);
    EXPECT_TRUE(eventually([&] { return isSelected(file); }));
    press(u"Return"_s);
    EXPECT_EQ(Trace(home.path(u"viewer.trace"_s)).arguments(),
              QStringList{QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)});
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
}

TEST_F(WholeProgramTest, aTypedPathOfAScriptShowsItsTextAndRunsNothing) {
    handle(u"text/plain"_s, u"viewer"_s);
    const QString script = home.path(u"run me"_s);
    writeTracingProgram(script, home.path(u"script.trace"_s));
    type(script);
    EXPECT_TRUE(eventually([&] { return isSelected(script); }));
    press(u"Return"_s);
    EXPECT_EQ(Trace(home.path(u"viewer.trace"_s)).arguments(),
              QStringList{QUrl::fromLocalFile(script).toString(QUrl::FullyEncoded)});
    EXPECT_FALSE(QFile::exists(home.path(u"script.trace"_s)));
}

TEST_F(WholeProgramTest, aTypedAddressAndReturnOpenItInTheBrowser) {
    handle(u"x-scheme-handler/http"_s, u"surfer"_s);
    type(u"localhost:3000/a?b=c"_s);
    press(u"Return"_s);
    EXPECT_EQ(Trace(home.path(u"surfer.trace"_s)).arguments(),
              QStringList{u"http://localhost:3000/a?b=c"_s});
}

TEST_F(WholeProgramTest, aSearchWordAndReturnSearchItsSite) {
    handle(u"x-scheme-handler/https"_s, u"surfer"_s);
    type(u"gh corvid launcher"_s);
    press(u"Return"_s);
    EXPECT_EQ(Trace(home.path(u"surfer.trace"_s)).arguments(),
              QStringList{u"https://github.com/search?q=corvid%20launcher"_s});
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

TEST_F(WholeProgramTest, aCopiedResultSurvivesTheHiding) {
    type(u"6*7"_s);
    press(u"Return"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    EXPECT_TRUE(eventually([this] {
        return run(u"xclip"_s, {u"-out"_s, u"-selection"_s, u"clipboard"_s}) == u"42";
    }));
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

TEST_F(WholeProgramTest, aRowIsForgottenByShiftDeleteUntilControlZ) {
    const QJsonObject once{{u"org.example.Frobnicator|"_s + application, 1}};
    const auto learnt = [this] { return home.defaults()[u"launchCounts"_s].toObject(); };
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_TRUE(eventually([&] { return learnt() == once; }));
    EXPECT_TRUE(
        eventuallyAfter([this] { press(u"alt+k"_s); }, [this] { return panelHasKeyboard(); }));
    type(u"frobn"_s);
    press(u"shift+Delete"_s);
    EXPECT_TRUE(eventually([&] { return learnt().isEmpty(); }));
    EXPECT_EQ(home.defaults()[u"queryLatches"_s], QJsonObject());
    press(u"ctrl+z"_s);
    EXPECT_TRUE(eventually([&] { return learnt() == once; }));
    EXPECT_FALSE(home.defaults()[u"queryLatches"_s].toObject().isEmpty());
}

TEST_F(WholeProgramTest, theOneThatRunsSeesAtOnceThatAllWasForgotten) {
    const auto launches = [this] {
        return home.defaults()[u"launchCounts"_s][u"org.example.Frobnicator|"_s + application];
    };
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_TRUE(eventually([&] { return launches() == 1; }));
    const Answer answer = runWithoutDisplay(home, {u"--forget"_s, u"--yes"_s});
    EXPECT_EQ(answer.exitCode, 0);
    EXPECT_EQ(answer.standardError, QString());
    EXPECT_EQ(home.defaults()[u"launchCounts"_s], QJsonObject());
    EXPECT_EQ(home.defaults()[u"queryLatches"_s], QJsonObject());
    EXPECT_TRUE(
        eventuallyAfter([this] { press(u"alt+k"_s); }, [this] { return panelHasKeyboard(); }));
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_TRUE(eventually([&] { return launches().isDouble(); }));
    EXPECT_EQ(launches(), 1) << "not counted on from before";
}

TEST(WholeProgramWithoutDisplay, forgettingAllTakesATerminalToAskOn) {
    const Home home;
    const QJsonObject counts{{u"a"_s, 2}};
    const QString file = home.path(u".config/Corvid/defaults.json"_s);
    const QString learnt = u"{\"launchCounts\": {\"a\": 2}, \"aiModel\": \"m\"}"_s;
    writeFile(file, learnt);
    const Answer answer = runWithoutDisplay(home, {u"--forget"_s});
    EXPECT_EQ(answer.exitCode, 1);
    EXPECT_TRUE(answer.standardError.contains(u"no terminal"_s))
        << qPrintable(answer.standardError);
    EXPECT_EQ(home.defaults()[u"launchCounts"_s], counts);
    // "script" runs a command on a terminal of its own.
    const auto onTerminal = [&](const QByteArray &typed) {
        QProcess terminal;
        makeDependent(terminal);
        terminal.setProcessEnvironment(home.environment(QProcessEnvironment::systemEnvironment()));
        terminal.start(u"script"_s, {u"-qec"_s, executable + u" --forget"_s, u"/dev/null"_s});
        QString said;
        EXPECT_TRUE(eventually([&] {
            terminal.waitForReadyRead(10);
            said += QString::fromUtf8(terminal.readAllStandardOutput());
            return said.contains(u"Forget 2 launches and 0 choices? [y/N]"_s);
        })) << qPrintable(said);
        terminal.write(typed);
        terminal.waitForFinished();
        return terminal.exitCode();
    };
    for (const char *no : {"\n", "n\n", "x\n", "\004"}) {
        EXPECT_EQ(onTerminal(no), 1) << no;
        EXPECT_EQ(home.defaults()[u"launchCounts"_s], counts) << no;
    }
    EXPECT_EQ(onTerminal("y\n"), 0);
    EXPECT_EQ(home.defaults()[u"launchCounts"_s], QJsonObject());
    EXPECT_EQ(home.defaults()[u"aiModel"_s].toString(), u"m");
}

TEST(WholeProgramWithoutDisplay, whatCannotBeForgottenIsSaid) {
    const Home home;
    const QString folder = home.path(u".config/Corvid"_s);
    writeFile(folder + u"/defaults.json"_s, u"{\"launchCounts\": {\"a\": 2}}"_s);
    // Not even root can write with a folder in place of the lock.
    ASSERT_TRUE(QDir().mkdir(folder + u"/defaults.json.lock"_s));
    const Answer answer = runWithoutDisplay(home, {u"--forget"_s, u"--yes"_s});
    EXPECT_EQ(answer.exitCode, 1);
    EXPECT_TRUE(answer.standardError.contains(u"cannot be written"_s));
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

TEST(WholeProgramWithoutDisplay, theCachesAreForTheUserAlone) {
    const Home home;
    const mode_t before = umask(0);
    runWithoutDisplay(home, {u"--query"_s, u"frobnicator"_s}, u"-- end --\n"_s);
    umask(before);
    const std::pair<QString, mode_t> rows[]{{u".local/share/Corvid"_s, 0700},
                                            {u".local/share/Corvid/catalog.json"_s, 0600},
                                            {u".local/share/Corvid/projects.json"_s, 0600}};
    for (const auto &[name, mode] : rows) {
        struct stat status = {};
        ASSERT_EQ(stat(QFile::encodeName(home.path(name)).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode) << qPrintable(name);
    }
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
