#include "Platform/Linux/Launching/SessionWorkspace.h"

#include "Fakes/FakeDesktopEntries.h"
#include "Worlds/ChildEnvironments.h"
#include "Worlds/LaunchWorld.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QSet>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace corvid::test;

namespace {

// GLib reads the default handlers once per process, so they are laid out before any test.
class DefaultHandlers : public ::testing::Environment {
public:
    void SetUp() override {
        const QString home = QDir::homePath();
        qputenv("XDG_DATA_DIRS", QFile::encodeName(home + "/no-system"_L1));
        for (const QString &handler : {u"folders"_s, u"text"_s, u"runner"_s, u"web"_s}) {
            writeTracingProgram(home + "/bin/"_L1 + handler, home + "/trace."_L1 + handler);
            writeFile(home + "/.local/share/applications/"_L1 + handler + ".desktop"_L1,
                      u"[Desktop Entry]\nType=Application\nName=%1\nExec=%2/bin/%1 %u\n"_s.arg(
                          handler, home));
        }
        writeFile(home + "/.config/mimeapps.list"_L1,
                  u"[Default Applications]\ninode/directory=folders.desktop\n"
                  "text/plain=text.desktop\n"
                  "application/x-shellscript=runner.desktop\n"
                  "application/x-desktop=runner.desktop\n"
                  "application/x-executable=runner.desktop\n"
                  "x-scheme-handler/https=web.desktop\n"_s);
    }
};

const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);
const auto *const handlers = ::testing::AddGlobalTestEnvironment(new DefaultHandlers);

class LaunchingTest : public ::testing::Test {
protected:
    LaunchingTest() {
        const QString programs = path("bin"_L1) + ":/usr/bin:/bin"_L1;
        qputenv("PATH", QFile::encodeName(programs)); // where entries' programs are looked for
        environment_.insert(u"PATH"_s, programs);
        environment_.remove(u"TERMINAL"_s);
        QDir().mkpath(path("bin"_L1));
        for (const QString &handler : {u"folders"_s, u"text"_s, u"web"_s})
            QFile::remove(QDir::homePath() + "/trace."_L1 + handler);
        workspace_.emplace(entries_,
                           SessionWorkspace::Options{childEnvironment(environment_), {}, {}});
    }

    QString path(QLatin1StringView name) const { return folder_.path() + u'/' + name; }

    /** A tracing program in PATH. */
    QString program(const QString &name) {
        const QString file = path("bin/"_L1) + name;
        writeTracingProgram(file, trace(name));
        return file;
    }
    QString trace(const QString &name) const { return path("trace."_L1) + name; }

    QString entry(const QString &exec, const QString &more = {},
                  const QString &id = u"org.example.App"_s) {
        const QString file = path("applications/"_L1) + id + ".desktop"_L1;
        writeFile(file, u"[Desktop Entry]\nType=Application\nName=An app\nExec=%1\n%2\n"_s.arg(
                            exec, more));
        return file;
    }

    /** A bundle with a tracing executable of this name. */
    QString bundle(const QString &executable) {
        const QString root = path("My App.app"_L1);
        writeTracingProgram(root + "/Contents/MacOS/"_L1 + executable, trace(u"bundle"_s));
        return root;
    }

    /** Launches and waits for the completion, whose error it returns. */
    QString launch(const QString &application, const QStringList &files = {}) {
        return completionOf([&](const Workspace::Completion &done) {
            workspace_->openFiles(files, application, done);
        });
    }
    QString launchNewWindow(const QString &application) {
        return completionOf([&](const Workspace::Completion &done) {
            workspace_->openNewWindow(application, done);
        });
    }
    QString runAction(const QString &application, const QString &action) {
        return completionOf([&](const Workspace::Completion &done) {
            workspace_->runAction(application, action, done);
        });
    }
    QString startTool(const QString &executable, const QStringList &arguments = {}) {
        return completionOf([&](const Workspace::Completion &done) {
            workspace_->startTool(executable, arguments, done);
        });
    }
    static QString completionOf(const std::function<void(const Workspace::Completion &)> &begin) {
        std::optional<QString> result;
        begin([&](const QString &error) {
            EXPECT_EQ(QThread::currentThread(), qApp->thread());
            result = error;
        });
        EXPECT_FALSE(result) << "the completion must not run inside the call";
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
        return result.value_or(u"no completion"_s);
    }

    QTemporaryDir folder_;
    QProcessEnvironment environment_ = QProcessEnvironment::systemEnvironment();
    const FakeDesktopEntries entries_;
    std::optional<SessionWorkspace> workspace_;
};

} // namespace

TEST_F(LaunchingTest, anEntryIsStartedByItsExecLineWithoutAShell) {
    program(u"app"_s);
    EXPECT_EQ(launch(entry(u"app --new \"two words\" $HOME %F %c"_s)), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(),
              (QStringList{u"--new"_s, u"two words"_s, u"$HOME"_s, u"An app"_s}));
}

TEST_F(LaunchingTest, filesAreHandedToTheEntrysProgram) {
    program(u"app"_s);
    EXPECT_EQ(launch(entry(u"app %U"_s), {u"/tmp/a b"_s, u"/tmp/c"_s}), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(),
              (QStringList{u"file:///tmp/a%20b"_s, u"file:///tmp/c"_s}));
}

TEST_F(LaunchingTest, aPathIsOneArgumentWhateverIsInIt) {
    const QString path = u"/tmp/; touch x; $(touch x) `touch x` %F %c \"'* -rf ~ & | > x"_s;
    program(u"app"_s);
    EXPECT_EQ(launch(entry(u"app %F"_s), {path}), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList{path});
    EXPECT_EQ(startTool(program(u"tool"_s), {path}), QString());
    EXPECT_EQ(Trace(trace(u"tool"_s)).arguments(), QStringList{path});
}

TEST_F(LaunchingTest, aProgramThatNamesNoInterpreterGetsItsArgumentsAsTheyAre) {
    program(u"app"_s);
    const QString script = path("bin/app"_L1);
    writeFile(script, readFile(script).remove(u"#!/bin/sh\n"_s));
    EXPECT_EQ(launch(entry(u"app \"a; b\" $HOME"_s)), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), (QStringList{u"a; b"_s, u"$HOME"_s}));
}

TEST_F(LaunchingTest, aLineWithoutACodeForFilesGetsThePathAppended) {
    program(u"app"_s);
    EXPECT_EQ(launch(entry(u"app -n"_s), {u"/tmp/a b"_s}), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), (QStringList{u"-n"_s, u"/tmp/a b"_s}));
}

TEST_F(LaunchingTest, whatIsStartedHasASessionOfItsOwnAndIsNoChildOfOurs) {
    program(u"app"_s);
    EXPECT_EQ(launch(entry(u"app"_s)), QString());
    const Trace child(trace(u"app"_s));
    EXPECT_EQ(child.session(), child.pid());
    EXPECT_NE(child.session(), getsid(0));
    EXPECT_NE(child.parent(), getpid());
    EXPECT_TRUE(eventually([&] {
        return kill(static_cast<pid_t>(child.pid()), 0) != 0 && errno == ESRCH;
    })) << "a program that ended stays behind as a zombie";
}

TEST_F(LaunchingTest, itsStreamsAreTheNullDevice) {
    program(u"app"_s);
    EXPECT_EQ(launch(entry(u"app"_s)), QString());
    const QStringList streams = Trace(trace(u"app"_s)).all(u"stream"_s);
    EXPECT_EQ(streams.value(0), u"/dev/null");
    EXPECT_EQ(streams.value(2), u"/dev/null");
}

TEST_F(LaunchingTest, itStartsInTheHomeFolderOrWhereItsEntrySays) {
    program(u"app"_s);
    EXPECT_EQ(launch(entry(u"app"_s)), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).workingFolder(), QDir(QDir::homePath()).canonicalPath());
    QFile::remove(trace(u"app"_s));
    EXPECT_EQ(launch(entry(u"app"_s, u"Path=/usr/bin"_s)), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).workingFolder(), QDir(u"/usr/bin"_s).canonicalPath());
}

TEST_F(LaunchingTest, itsEnvironmentIsTheOneWeWereStartedWith) {
    program(u"app"_s);
    environment_.remove(u"QT_QPA_PLATFORM"_s);
    environment_.insert(u"FROM_THE_SESSION"_s, u"yes"_s);
    environment_.insert(u"DESKTOP_STARTUP_ID"_s, u"ours"_s);
    environment_.insert(u"JOURNAL_STREAM"_s, u"ours"_s);
    workspace_.emplace(entries_, SessionWorkspace::Options{childEnvironment(environment_), {}, {}});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("OUR_TWEAK", "1");
    const QString file = entry(u"app"_s);
    EXPECT_EQ(launch(file), QString());
    const Trace child(trace(u"app"_s));
    EXPECT_EQ(child.variable(u"FROM_THE_SESSION"_s), u"yes"_s);
    EXPECT_EQ(child.variable(u"QT_QPA_PLATFORM"_s), std::nullopt);
    EXPECT_EQ(child.variable(u"OUR_TWEAK"_s), std::nullopt);
    EXPECT_EQ(child.variable(u"DESKTOP_STARTUP_ID"_s), std::nullopt);
    EXPECT_EQ(child.variable(u"JOURNAL_STREAM"_s), std::nullopt);
    EXPECT_EQ(child.variable(u"GIO_LAUNCHED_DESKTOP_FILE"_s), file);
    EXPECT_EQ(child.variable(u"GIO_LAUNCHED_DESKTOP_FILE_PID"_s), QString::number(child.pid()));
}

TEST_F(LaunchingTest, valuesThatAreNoTextReachItAsTheyAre) {
    const QString file = path("bin/app"_L1);
    writeFile(file, u"#!/bin/sh\nenv -0 > '%1.part'; mv '%1.part' '%1'\n"_s.arg(trace(u"app"_s)));
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const std::string value = "TEXT=\xff\xfe\nA\xed\xa0\x80";
    workspace_.emplace(
        entries_, SessionWorkspace::Options{
                      ChildEnvironment({"PATH=" + qgetenv("PATH").toStdString(), value}), {}, {}});
    EXPECT_EQ(launch(entry(u"app"_s)), QString());
    ASSERT_TRUE(eventually([&] { return QFile::exists(trace(u"app"_s)); }));
    QFile result(trace(u"app"_s));
    ASSERT_TRUE(result.open(QIODevice::ReadOnly));
    EXPECT_TRUE(result.readAll().split('\0').contains(QByteArray::fromStdString(value)));
}

TEST_F(LaunchingTest, aBundleIsStartedByTheExecutableNamedLikeIt) {
    EXPECT_EQ(launch(bundle(u"My App"_s), {u"/tmp/a b"_s, u"/tmp/c"_s}), QString());
    const Trace child(trace(u"bundle"_s));
    EXPECT_EQ(child.arguments(), (QStringList{u"/tmp/a b"_s, u"/tmp/c"_s}));
    EXPECT_EQ(child.variable(u"GIO_LAUNCHED_DESKTOP_FILE"_s), std::nullopt);
}

TEST_F(LaunchingTest, theExecutableThatABundlesPropertiesNameComesFirst) {
    const QString root = bundle(u"other"_s);
    writeFile(root + "/Contents/MacOS/My App"_L1, u"#!/bin/false\n"_s);
    const auto properties = [&](const QString &executable) {
        writeFile(
            root + "/Contents/Info.plist"_L1,
            u"<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
            "<key>CFBundleExecutable</key><string>%1</string></dict></plist>"_s.arg(executable));
    };
    properties(u"other"_s);
    EXPECT_EQ(launch(root), QString());
    EXPECT_EQ(Trace(trace(u"bundle"_s)).arguments(), QStringList());
    properties(u"../MacOS/other"_s);
    EXPECT_TRUE(launch(root).contains(u"My App”")) << "a name is no path";
}

TEST_F(LaunchingTest, whatCannotBeStartedHasAReason) {
    EXPECT_TRUE(launch(path("gone.desktop"_L1)).contains(u"does not exist"));
    EXPECT_TRUE(launch(entry(u"no-such-program"_s)).contains(u"not installed"));
    EXPECT_TRUE(launch(entry(u"\"broken"_s)).contains(u"no desktop entry"));
    EXPECT_TRUE(launch(path("Gone.app"_L1)).contains(u"not executable"));

    const QString root = bundle(u"My App"_s);
    QFile::setPermissions(root + "/Contents/MacOS/My App"_L1, QFile::ReadOwner);
    EXPECT_TRUE(launch(root).contains(u"not executable"));

    writeFile(path("bin/strange"_L1), u"#!/no/such/interpreter\n"_s);
    QFile::setPermissions(path("bin/strange"_L1), QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_FALSE(launch(entry(path("bin/strange"_L1))).isEmpty());
    program(u"app"_s);
    EXPECT_FALSE(launch(entry(path("bin/app"_L1), u"Path=/no/such/folder"_s)).isEmpty());
}

TEST_F(LaunchingTest, aPipeThatTookTheEntrysPlaceHoldsNobodyUp) {
    program(u"app"_s);
    const QString file = entry(u"app"_s, u"Actions=new-window;\n[Desktop Action new-window]\n"
                                         "Name=N\nExec=app --new"_s);
    ASSERT_TRUE(QFile::remove(file));
    ASSERT_EQ(mkfifo(QFile::encodeName(file).constData(), 0600), 0);
    EXPECT_TRUE(launch(file).contains(u"no desktop entry"));
    EXPECT_TRUE(launchNewWindow(file).contains(u"no desktop entry"));
    EXPECT_FALSE(QFile::exists(trace(u"app"_s)));
}

TEST_F(LaunchingTest, aTerminalApplicationRunsInTheUsersTerminal) {
    program(u"app"_s);
    program(u"myterm"_s);
    environment_.insert(u"TERMINAL"_s, u"myterm --big"_s);
    workspace_.emplace(entries_, SessionWorkspace::Options{childEnvironment(environment_), {}, {}});
    EXPECT_EQ(launch(entry(path("bin/app %f"_L1), u"Terminal=true"_s), {u"/tmp/a b"_s}), QString());
    const Trace terminal(trace(u"myterm"_s));
    EXPECT_EQ(terminal.arguments(),
              (QStringList{u"--big"_s, u"-e"_s, path("bin/app"_L1), u"/tmp/a b"_s}));
    EXPECT_EQ(terminal.variable(u"GIO_LAUNCHED_DESKTOP_FILE"_s), std::nullopt)
        << "the terminal would be taken for the application";
}

TEST_F(LaunchingTest, withoutATerminalATerminalApplicationHasAReason) {
    program(u"app"_s);
    environment_.insert(u"PATH"_s, path("bin"_L1));
    workspace_.emplace(entries_, SessionWorkspace::Options{childEnvironment(environment_), {}, {}});
    EXPECT_TRUE(launch(entry(path("bin/app"_L1), u"Terminal=true"_s)).contains(u"terminal"));
}

TEST_F(LaunchingTest, aBusActivatedApplicationIsActivatedOverTheBus) {
    program(u"app"_s);
    const QString file =
        entry(path("bin/app"_L1), u"DBusActivatable=true"_s, u"org.example.An-App"_s);
    {
        const BusServices services(trace(u"bus"_s), {u"org.example.An-App"_s});
        EXPECT_EQ(launch(file), QString());
        EXPECT_EQ(launch(file, {u"/tmp/a b"_s}), QString());
    }
    const QString calls = readFile(trace(u"bus"_s));
    EXPECT_EQ(calls, u"org.freedesktop.Application.Activate ({},)\n"
                     "org.freedesktop.Application.Open (['file:///tmp/a%20b'], {})\n"_s);
    EXPECT_FALSE(QFile::exists(trace(u"app"_s))) << "started twice";
}

TEST_F(LaunchingTest, aBusActivatedApplicationWithoutAServiceIsStartedByItsExecLine) {
    program(u"app"_s);
    EXPECT_EQ(launch(entry(path("bin/app"_L1), u"DBusActivatable=true"_s)), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList());
}

TEST_F(LaunchingTest, anApplicationThatRefusesOverTheBusIsNotStartedOnceMore) {
    program(u"app"_s);
    const BusServices services(trace(u"bus"_s), {u"--fail"_s, u"org.example.App"_s});
    EXPECT_TRUE(
        launch(entry(path("bin/app"_L1), u"DBusActivatable=true"_s)).contains(u"I am busy"));
    EXPECT_FALSE(QFile::exists(trace(u"app"_s)));
}

TEST_F(LaunchingTest, aNewWindowIsOpenedByTheEntrysActionForIt) {
    program(u"app"_s);
    for (const QString &action :
         {u"new-window"_s, u"new-empty-window"_s, u"NewWindow"_s, u"other"_s}) {
        QFile::remove(trace(u"app"_s));
        const QString file = entry(u"app --plain"_s, u"Actions=first;%1;\n"
                                                     "[Desktop Action first]\nName=F\nExec=app -f\n"
                                                     "[Desktop Action %1]\nName=N\n"
                                                     "Exec=app --new %U %c"_s.arg(action));
        EXPECT_EQ(launchNewWindow(file), QString());
        const Trace child(trace(u"app"_s));
        EXPECT_EQ(child.arguments(), action == u"other" ? QStringList{u"--plain"_s}
                                                        : (QStringList{u"--new"_s, u"An app"_s}))
            << qPrintable(action);
        EXPECT_EQ(child.variable(u"GIO_LAUNCHED_DESKTOP_FILE"_s), file);
    }
}

TEST_F(LaunchingTest, anActionThatTheEntryDoesNotListIsNone) {
    program(u"app"_s);
    EXPECT_EQ(launchNewWindow(entry(u"app"_s, u"[Desktop Action new-window]\nExec=app --new"_s)),
              QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList());
}

TEST_F(LaunchingTest, aNewWindowOfABundleIsOneMoreStart) {
    EXPECT_EQ(launchNewWindow(bundle(u"My App"_s)), QString());
    EXPECT_EQ(Trace(trace(u"bundle"_s)).arguments(), QStringList());
}

TEST_F(LaunchingTest, aBusActivatedApplicationIsAskedForItsActionOverTheBus) {
    program(u"app"_s);
    const QString more = u"DBusActivatable=true\nActions=new-window;\n"
                         "[Desktop Action new-window]\nName=N\nExec=app --new"_s;
    const QString file = entry(path("bin/app"_L1), more);
    {
        const BusServices services(trace(u"bus"_s), {u"org.example.App"_s});
        EXPECT_EQ(launchNewWindow(file), QString());
    }
    EXPECT_EQ(readFile(trace(u"bus"_s)),
              u"org.freedesktop.Application.ActivateAction ('new-window', [], {})\n"_s);
    EXPECT_FALSE(QFile::exists(trace(u"app"_s)));
    EXPECT_EQ(launchNewWindow(file), QString()) << "without the service";
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList{u"--new"_s});
}

TEST_F(LaunchingTest, aBusActivatedApplicationWithoutTheActionIsStartedOnceMore) {
    program(u"app"_s);
    const BusServices services(trace(u"bus"_s), {u"org.example.App"_s});
    EXPECT_EQ(launchNewWindow(entry(path("bin/app"_L1), u"DBusActivatable=true"_s)), QString());
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList());
    EXPECT_EQ(readFile(trace(u"bus"_s)), QString());
}

TEST_F(LaunchingTest, anActionIsStartedByItsOwnExecLine) {
    program(u"app"_s);
    const QString file = entry(u"app --plain"_s, u"Actions=other;quiet;\n"
                                                 "[Desktop Action other]\nName=O\nExec=app -o\n"
                                                 "[Desktop Action quiet]\nName=Q\n"
                                                 "Exec=app --quiet %U %c \"a b\""_s);
    EXPECT_EQ(runAction(file, u"quiet"_s), QString());
    const Trace child(trace(u"app"_s));
    EXPECT_EQ(child.arguments(), (QStringList{u"--quiet"_s, u"An app"_s, u"a b"_s}));
    EXPECT_EQ(child.variable(u"GIO_LAUNCHED_DESKTOP_FILE"_s), file);
}

TEST_F(LaunchingTest, anActionThatTheEntryHasNoMoreOrThatRunsNothingHasAReason) {
    program(u"app"_s);
    const QString file = entry(u"app"_s, u"Actions=empty;\n[Desktop Action empty]\nName=E\n"
                                         "[Desktop Action gone]\nName=G\nExec=app --gone"_s);
    EXPECT_TRUE(runAction(file, u"gone"_s).contains(u"no action"));
    EXPECT_TRUE(runAction(file, u"empty"_s).contains(u"does not say what to run"));
    EXPECT_TRUE(runAction(path("gone.desktop"_L1), u"x"_s).contains(u"does not exist"));
    EXPECT_FALSE(runAction(bundle(u"My App"_s), u"x"_s).isEmpty());
    EXPECT_FALSE(QFile::exists(trace(u"app"_s)));
}

TEST_F(LaunchingTest, anActionOfABusActivatedApplicationIsAskedForOverTheBus) {
    program(u"app"_s);
    const QString more = u"DBusActivatable=true\nActions=quiet;\n"
                         "[Desktop Action quiet]\nName=N\nExec=app --quiet"_s;
    const QString file = entry(path("bin/app"_L1), more);
    {
        const BusServices services(trace(u"bus"_s), {u"org.example.App"_s});
        EXPECT_EQ(runAction(file, u"quiet"_s), QString());
    }
    EXPECT_EQ(readFile(trace(u"bus"_s)),
              u"org.freedesktop.Application.ActivateAction ('quiet', [], {})\n"_s);
    EXPECT_FALSE(QFile::exists(trace(u"app"_s)));
    EXPECT_EQ(runAction(file, u"quiet"_s), QString()) << "without the service";
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList{u"--quiet"_s});
}

TEST_F(LaunchingTest, whatIsStartedMovesToAScopeOfItsOwnWhereThereIsAUserManager) {
    program(u"app"_s);
    {
        const BusServices services(trace(u"bus"_s), {u"org.freedesktop.systemd1"_s});
        EXPECT_EQ(launch(entry(u"app"_s, {}, u"my-app"_s)), QString());
    }
    const QString pid = QString::number(Trace(trace(u"app"_s)).pid());
    const QString call = readFile(trace(u"bus"_s));
    EXPECT_TRUE(call.startsWith("org.freedesktop.systemd1.Manager.StartTransientUnit "_L1));
    EXPECT_TRUE(call.contains(u"app-corvid-my\\\\x2dapp-%1.scope"_s.arg(pid))) << qPrintable(call);
    EXPECT_TRUE(call.contains(u"('PIDs', <[uint32 %1]>)"_s.arg(pid))) << qPrintable(call);
}

TEST_F(LaunchingTest, aNameTooLongForAScopeIsShortenedAndStaysItsOwn) {
    program(u"app"_s);
    const QString start = u"a-"_s.repeated(119);
    {
        const BusServices services(trace(u"bus"_s), {u"org.freedesktop.systemd1"_s});
        for (const QString &end : {u"1"_s, u"2"_s}) {
            QFile::remove(trace(u"app"_s));
            EXPECT_EQ(launch(entry(u"app"_s, {}, start + end)), QString());
            EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList());
        }
    }
    QSet<QString> names;
    const QString calls = readFile(trace(u"bus"_s)).replace("\\\\"_L1, "\\"_L1);
    const QRegularExpression unit(u"'(app-corvid-[^']*)-[0-9]+\\.scope'"_s);
    for (const QRegularExpressionMatch &match : unit.globalMatch(calls)) {
        EXPECT_LE(match.captured().size() - 2, 255) << qPrintable(match.captured());
        EXPECT_GE(match.captured().size() - 2, 250) << "no shorter than need be";
        EXPECT_TRUE(match.captured(1).startsWith("app-corvid-a\\x2da\\x2da"_L1));
        names.insert(match.captured(1));
    }
    EXPECT_EQ(names.size(), 2) << qPrintable(calls);
}

TEST_F(LaunchingTest, foldersAndAddressesOpenWithTheirDefaultHandlers) {
    workspace_->openUrl(QUrl::fromLocalFile(folder_.path()));
    EXPECT_EQ(Trace(QDir::homePath() + "/trace.folders"_L1).arguments(),
              QStringList{QUrl::fromLocalFile(folder_.path()).toString()});
    workspace_->openUrl(QUrl(u"https://example.com/search?q=a%20b"_s));
    EXPECT_EQ(Trace(QDir::homePath() + "/trace.web"_L1).arguments(),
              QStringList{u"https://example.com/search?q=a%20b"_s});
}

TEST_F(LaunchingTest, whatHasNoDefaultHandlerIsLeftToXdgOpen) {
    program(u"xdg-open"_s);
    workspace_->openUrl(QUrl(u"strange-scheme://x/?a=b%20c"_s));
    EXPECT_EQ(Trace(trace(u"xdg-open"_s)).arguments(),
              QStringList{u"strange-scheme://x/?a=b%20c"_s});
}

TEST_F(LaunchingTest, aFileOpensWithTheDefaultHandlerOfItsType) {
    const QString notes = path("my notes.txt"_L1);
    writeFile(notes, u"words\n"_s);
    workspace_->open(notes);
    EXPECT_EQ(Trace(QDir::homePath() + "/trace.text"_L1).arguments(),
              QStringList{QUrl::fromLocalFile(notes).toString(QUrl::FullyEncoded)});
}

TEST_F(LaunchingTest, aFileOfATypeThatNothingHandlesIsLeftToXdgOpen) {
    program(u"xdg-open"_s);
    const QString picture = path("x.png"_L1);
    writeFile(picture, QString(4, QChar::Null));
    workspace_->open(picture);
    EXPECT_EQ(Trace(trace(u"xdg-open"_s)).arguments(), QStringList{picture});
}

TEST_F(LaunchingTest, openingAScriptOrADesktopEntryShowsItsTextAndRunsNothing) {
    const QString runner = QDir::homePath() + "/trace.runner"_L1;
    for (const QString &name : {u"script"_s, u"deploy.sh"_s, u"trap.desktop"_s}) {
        const QString text = QDir::homePath() + "/trace.text"_L1;
        QFile::remove(text);
        const QString file = path("places/"_L1) + name;
        if (name.endsWith(".desktop"_L1))
            writeFile(file, u"[Desktop Entry]\nType=Application\nName=x\nExec=%1\n"_s.arg(
                                program(u"trapped"_s)));
        else
            writeTracingProgram(file, trace(u"trapped"_s));
        QFile(file).setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        program(u"xdg-open"_s);
        workspace_->open(file);
        EXPECT_EQ(Trace(text).arguments(), QStringList{QUrl::fromLocalFile(file).toString()});
        EXPECT_FALSE(QFile::exists(runner)) << qPrintable(name);
        EXPECT_FALSE(QFile::exists(trace(u"trapped"_s))) << qPrintable(name);
        EXPECT_FALSE(QFile::exists(trace(u"xdg-open"_s))) << qPrintable(name);
    }
}

TEST_F(LaunchingTest, openingAProgramShowsItInItsFolderAndRunsNothing) {
    program(u"xdg-open"_s);
    const QString file = path("places/tool"_L1);
    ASSERT_TRUE(QDir().mkpath(QFileInfo(file).path()));
    ASSERT_TRUE(QFile::copy(u"/bin/true"_s, file));
    workspace_->open(file);
    EXPECT_EQ(Trace(QDir::homePath() + "/trace.folders"_L1).arguments(),
              QStringList{QUrl::fromLocalFile(QFileInfo(file).path()).toString()});
    EXPECT_FALSE(QFile::exists(QDir::homePath() + "/trace.runner"_L1));
    EXPECT_FALSE(QFile::exists(trace(u"xdg-open"_s)));
}

TEST_F(LaunchingTest, revealingSelectsTheFileInTheFileManager) {
    {
        const BusServices services(trace(u"bus"_s), {u"org.freedesktop.FileManager1"_s});
        workspace_->reveal(path("a b"_L1));
        EXPECT_TRUE(eventually([&] { return !readFile(trace(u"bus"_s)).isEmpty(); }));
    }
    EXPECT_EQ(readFile(trace(u"bus"_s)),
              u"org.freedesktop.FileManager1.ShowItems (['file://%1/a%20b'], '')\n"_s.arg(
                  folder_.path()));
}

TEST_F(LaunchingTest, withoutSuchAFileManagerRevealingOpensTheFolder) {
    workspace_->reveal(path("a b"_L1));
    EXPECT_EQ(Trace(QDir::homePath() + "/trace.folders"_L1).arguments(),
              QStringList{QUrl::fromLocalFile(folder_.path()).toString()});
}

TEST_F(LaunchingTest, aToolGetsItsArgumentsAndNullStreams) {
    const QString tool = program(u"tool"_s);
    EXPECT_EQ(startTool(tool, {u"/tmp/a project"_s, u"-x"_s}), QString());
    const Trace child(trace(u"tool"_s));
    EXPECT_EQ(child.arguments(), (QStringList{u"/tmp/a project"_s, u"-x"_s}));
    EXPECT_EQ(child.all(u"stream"_s).value(0), u"/dev/null");
    EXPECT_EQ(child.all(u"stream"_s).value(2), u"/dev/null");
    EXPECT_EQ(child.session(), child.pid());
    EXPECT_EQ(child.workingFolder(), QDir(QDir::currentPath()).canonicalPath());
}

TEST_F(LaunchingTest, nothingOfWhatWeHaveOpenReachesAChild) {
    const int leaking = open("/dev/zero", O_RDONLY); // without O_CLOEXEC
    ASSERT_GT(leaking, 2);
    const QString tool = path("bin/tool"_L1);
    writeFile(tool, u"#!/bin/sh\nls /proc/self/fd > '%1.part'; mv '%1.part' '%1'\n"_s.arg(
                        trace(u"tool"_s)));
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(startTool(tool), QString());
    // 3 is the folder that ls reads.
    EXPECT_EQ(Trace(trace(u"tool"_s)).lines, (QStringList{u"0"_s, u"1"_s, u"2"_s, u"3"_s}));
    close(leaking);
}

TEST_F(LaunchingTest, aChildFindsEverySignalAsANewProcessDoes) {
    const QList<int> ignored{SIGPIPE, SIGINT, SIGHUP, SIGCHLD, SIGUSR1, SIGTERM, SIGTSTP};
    QList<void (*)(int)> before;
    for (const int signal : ignored)
        before.append(std::signal(signal, SIG_IGN));
    sigset_t all;
    sigset_t maskBefore;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &maskBefore);
    const QString tool = path("bin/tool"_L1);
    writeFile(tool, u"#!/bin/sh\ngrep -E '^Sig(Blk|Ign)' /proc/self/status > '%1.part'\n"
                    "mv '%1.part' '%1'\n"_s.arg(trace(u"tool"_s)));
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(startTool(tool), QString());
    const QStringList lines = Trace(trace(u"tool"_s)).lines;
    ASSERT_EQ(lines.size(), 2);
    // The two that the C library keeps for itself are as whoever started the tests left them.
    constexpr quint64 libraryOwn = quint64(3) << 31;
    for (const QString &line : lines)
        EXPECT_EQ(line.section(u'\t', 1).toULongLong(nullptr, 16) & ~libraryOwn, 0U)
            << qPrintable(line);
    EXPECT_TRUE(lines[0].startsWith("SigBlk"_L1) && lines[1].startsWith("SigIgn"_L1));
    pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
    for (qsizetype i = 0; i < ignored.size(); ++i)
        std::signal(ignored[i], before[i]);
}

TEST_F(LaunchingTest, aChildIsAsUrgentToTheSystemAsWeAre) {
    const QString tool = path("bin/tool"_L1);
    writeFile(tool, u"#!/bin/sh\n{ nice; cat /proc/$$/oom_score_adj; } > '%1.part'\n"
                    "mv '%1.part' '%1'\n"_s.arg(trace(u"tool"_s)));
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(startTool(tool), QString());
    EXPECT_EQ(Trace(trace(u"tool"_s)).lines,
              (QStringList{QString::number(getpriority(PRIO_PROCESS, 0)),
                           readFile(u"/proc/self/oom_score_adj"_s).trimmed()}));
}

TEST_F(LaunchingTest, aToolThatCannotBeStartedHasAReason) {
    EXPECT_FALSE(startTool(path("gone"_L1)).isEmpty());
    writeFile(path("plain"_L1), u"#!/bin/sh\n"_s);
    EXPECT_FALSE(startTool(path("plain"_L1)).isEmpty());
}

TEST_F(LaunchingTest, destroyingTheLauncherLetsTheLaunchFinishButDropsItsCompletion) {
    program(u"app"_s);
    bool called = false;
    workspace_->openFiles({}, entry(u"app"_s), [&](const QString &) { called = true; });
    workspace_.reset();
    EXPECT_EQ(Trace(trace(u"app"_s)).arguments(), QStringList());
    EXPECT_FALSE(called);
}
