// Folders: in editors, terminals and file managers. Files and applications: LaunchingTest.

#include "Platform/Linux/Launching/SessionWorkspace.h"

#include "Fakes/FakeDesktopEntries.h"
#include "Worlds/ChildEnvironments.h"
#include "Worlds/LaunchWorld.h"

#include <optional>

using namespace corvid;
using namespace corvid::test;

namespace {

const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

class FolderLaunchingTest : public ::testing::Test {
protected:
    FolderLaunchingTest() {
        const QString programs = path(u"bin"_s) + u":/usr/bin:/bin"_s;
        qputenv("PATH", QFile::encodeName(programs)); // where entries' programs are looked for
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(path(u"config"_s)));
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(path(u"etc"_s)));
        qputenv("XDG_DATA_HOME", QFile::encodeName(path(u"data"_s)));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(path(u"no-system"_s)));
        qputenv("XDG_CURRENT_DESKTOP", "Testbed");
        environment_.insert(u"PATH"_s, programs);
        environment_.remove(u"TERMINAL"_s);
        QDir().mkpath(folder_);
        start();
    }

    void start() {
        workspace_.emplace(entries_,
                           SessionWorkspace::Options{childEnvironment(environment_), {}, {}});
    }
    QString path(const QString &name) const { return disk_.filePath(name); }
    QString trace(const QString &name) const { return path(u"trace."_s + name); }

    /** A tracing program in PATH. */
    QString program(const QString &name) const {
        writeTracingProgram(path(u"bin/"_s + name), trace(name));
        return path(u"bin/"_s + name);
    }
    QString entry(const QString &id, const QString &exec, const QString &more = {}) const {
        const QString file = path(u"data/applications/%1.desktop"_s.arg(id));
        writeFile(file, u"[Desktop Entry]\nType=Application\nName=%1\nExec=%2\n%3\n"_s.arg(id, exec,
                                                                                           more));
        return file;
    }
    /** A tracing program and an application that runs it and claims folders. */
    void handler(const QString &name, const QString &more = {}) const {
        entry(name, program(name) + u" %u"_s, more);
    }

    QString completionOf(const std::function<void(const Workspace::Completion &)> &begin) const {
        std::optional<QString> result;
        begin([&](const QString &error) { result = error; });
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
        return result.value_or(u"no completion"_s);
    }
    QString openIn(const QString &application) {
        return completionOf([&](const Workspace::Completion &done) {
            workspace_->openFiles({folder_}, application, done);
        });
    }
    QString openTerminal(const QString &terminal) {
        return completionOf([&](const Workspace::Completion &done) {
            workspace_->openTerminal(folder_, terminal, done);
        });
    }
    QString home() const { return QDir(QDir::homePath()).canonicalPath(); }

    QTemporaryDir disk_;
    const QString folder_ = disk_.filePath(u"my web"_s);
    QProcessEnvironment environment_ = QProcessEnvironment::systemEnvironment();
    FakeDesktopEntries entries_;
    std::optional<SessionWorkspace> workspace_;
};

} // namespace

TEST_F(FolderLaunchingTest, aTerminalGetsItsFolderToWorkInAndNotAsAnArgument) {
    program(u"rio"_s);
    EXPECT_EQ(openTerminal(entry(u"rio"_s, u"rio -n %F"_s, u"Path=/usr/bin"_s)), QString());
    const Trace terminal(trace(u"rio"_s));
    EXPECT_EQ(terminal.arguments(), QStringList{u"-n"_s});
    EXPECT_EQ(terminal.workingFolder(), folder_);
}

TEST_F(FolderLaunchingTest, aTerminalThatRunsAsOneProcessIsToldTheFolderAndNotActivated) {
    program(u"ghostty"_s);
    const BusServices services(trace(u"bus"_s), {u"com.mitchellh.ghostty"_s});
    EXPECT_EQ(
        openTerminal(entry(u"com.mitchellh.ghostty"_s, u"ghostty --gtk-single-instance=true"_s,
                           u"DBusActivatable=true"_s)),
        QString());
    EXPECT_EQ(Trace(trace(u"ghostty"_s)).arguments(),
              (QStringList{u"--gtk-single-instance=false"_s, u"--working-directory="_s + folder_}));
    EXPECT_EQ(readFile(trace(u"bus"_s)), QString());
}

TEST_F(FolderLaunchingTest, anUnknownTerminalIsToldAsItsEntrySays) {
    program(u"rio"_s);
    EXPECT_EQ(openTerminal(entry(u"rio"_s, u"rio"_s, u"X-TerminalArgDir=--dir="_s)), QString());
    EXPECT_EQ(Trace(trace(u"rio"_s)).arguments(), QStringList{u"--dir="_s + folder_});
}

TEST_F(FolderLaunchingTest, aTerminalMayBeAProgramOrABundle) {
    EXPECT_EQ(openTerminal(program(u"konsole"_s)), QString());
    EXPECT_EQ(Trace(trace(u"konsole"_s)).arguments(), (QStringList{u"--workdir"_s, folder_}));
    writeTracingProgram(path(u"My.app/Contents/MacOS/My"_s), trace(u"bundle"_s));
    EXPECT_EQ(openTerminal(path(u"My.app"_s)), QString());
    const Trace bundle(trace(u"bundle"_s));
    EXPECT_EQ(bundle.arguments(), QStringList());
    EXPECT_EQ(bundle.workingFolder(), folder_);
}

TEST_F(FolderLaunchingTest, aTerminalThatIsGoneHasAReason) {
    EXPECT_FALSE(openTerminal(path(u"bin/gone"_s)).isEmpty());
    EXPECT_TRUE(openTerminal(path(u"gone.desktop"_s)).contains(u"does not exist"));
    program(u"rio"_s);
    const QString file = entry(u"rio"_s, u"rio"_s);
    ASSERT_TRUE(QDir(folder_).removeRecursively());
    EXPECT_FALSE(openTerminal(file).isEmpty()) << "nor does a folder that is gone have a window";
}

TEST_F(FolderLaunchingTest, anEditorGetsTheFolderAsAnArgument) {
    program(u"code"_s);
    EXPECT_EQ(openIn(entry(u"code"_s, u"code %F"_s)), QString());
    const Trace editor(trace(u"code"_s));
    EXPECT_EQ(editor.arguments(), QStringList{folder_});
    EXPECT_EQ(editor.workingFolder(), home());
}

TEST_F(FolderLaunchingTest, anEditorWithAWayOfItsOwnIsStartedThatWayInTheFolder) {
    program(u"builder"_s);
    program(u"geany"_s);
    const BusServices services(trace(u"bus"_s), {u"org.gnome.Builder"_s});
    EXPECT_EQ(openIn(entry(u"org.gnome.Builder"_s, u"builder %U"_s, u"DBusActivatable=true"_s)),
              QString());
    EXPECT_EQ(Trace(trace(u"builder"_s)).arguments(), QStringList{u"--project="_s + folder_});
    EXPECT_EQ(openIn(entry(u"geany"_s, u"geany %F"_s)), QString());
    const Trace geany(trace(u"geany"_s));
    EXPECT_EQ(geany.arguments(), QStringList());
    EXPECT_EQ(geany.workingFolder(), folder_);
    EXPECT_EQ(readFile(trace(u"bus"_s)), QString());
}

TEST_F(FolderLaunchingTest, aFileIsOpenedAsEver) {
    program(u"geany"_s);
    const QString file = path(u"a file"_s);
    writeFile(file, u"x"_s);
    EXPECT_EQ(completionOf([&](const Workspace::Completion &done) {
                  workspace_->openFiles({file}, entry(u"geany"_s, u"geany %F"_s), done);
              }),
              QString());
    EXPECT_EQ(Trace(trace(u"geany"_s)).arguments(), QStringList{file});
}

TEST_F(FolderLaunchingTest, anEditorInATerminalWorksInTheFolder) {
    program(u"vim"_s);
    program(u"lazygit"_s);
    program(u"kitty"_s);
    environment_.insert(u"TERMINAL"_s, u"kitty"_s);
    start();
    EXPECT_EQ(openIn(entry(u"vim"_s, u"vim %F"_s, u"Terminal=true"_s)), QString());
    const Trace withVim(trace(u"kitty"_s));
    EXPECT_EQ(withVim.arguments(), (QStringList{u"--directory"_s, folder_, u"vim"_s, folder_}));
    EXPECT_EQ(withVim.workingFolder(), folder_);
    QFile::remove(trace(u"kitty"_s));
    EXPECT_EQ(openIn(entry(u"lazygit"_s, u"lazygit"_s, u"Terminal=true"_s)), QString());
    EXPECT_EQ(Trace(trace(u"kitty"_s)).arguments(),
              (QStringList{u"--directory"_s, folder_, u"lazygit"_s}));
}

TEST_F(FolderLaunchingTest, theUsersTerminalIsFoundByTheirChoice) {
    DesktopEntry kitty;
    kitty.path = u"/x/kitty.desktop"_s;
    kitty.id = kitty.name = kitty.program = u"kitty"_s;
    kitty.categories = QStringList{u"TerminalEmulator"_s};
    entries_.entries = {kitty};
    program(u"kitty"_s);
    const QString mine = program(u"my-terminal"_s);
    const auto found = [this] {
        std::optional<std::optional<Workspace::Terminal>> result;
        workspace_->findTerminal(
            [&](const std::optional<Workspace::Terminal> &terminal) { result = terminal; });
        EXPECT_FALSE(result) << "not within the call";
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
        return result && *result ? (*result)->path : u"none"_s;
    };
    environment_.insert(u"TERMINAL"_s, u"my-terminal"_s);
    start();
    EXPECT_EQ(found(), mine);
    writeFile(path(u"config/testbed-xdg-terminals.list"_s), u"kitty.desktop\n"_s);
    EXPECT_EQ(found(), mine) << "whose list nothing reads";
    program(u"xdg-terminal-exec"_s);
    EXPECT_EQ(found(), kitty.path);
}

TEST_F(FolderLaunchingTest, aFolderOpensInAFileManagerWhateverElseClaimsIt) {
    handler(u"git-client"_s);
    handler(u"hidden"_s, u"Categories=FileManager;\nHidden=true"_s);
    handler(u"files"_s, u"Categories=System;FileManager;"_s);
    handler(u"other-files"_s, u"Categories=FileManager;"_s);
    writeFile(path(u"config/mimeapps.list"_s),
              u"[Default Applications]\ninode/directory=git-client.desktop;hidden.desktop\n"_s);
    writeFile(path(u"data/applications/mimeinfo.cache"_s),
              u"[MIME Cache]\ninode/directory=other-files.desktop;\n"_s);
    writeFile(path(u"etc/testbed-mimeapps.list"_s),
              u"[Default Applications]\ninode/directory=files.desktop\n"_s);
    workspace_->open(folder_);
    EXPECT_EQ(Trace(trace(u"files"_s)).arguments(),
              QStringList{QUrl::fromLocalFile(folder_).toString(QUrl::FullyEncoded)});
    EXPECT_FALSE(QFile::exists(trace(u"git-client"_s)));
    EXPECT_FALSE(QFile::exists(trace(u"other-files"_s)));
}

TEST_F(FolderLaunchingTest, whereNoHandlerIsAFileManagerTheOneOnTheBusIsAsked) {
    handler(u"git-client"_s);
    writeFile(path(u"config/mimeapps.list"_s),
              u"[Default Applications]\ninode/directory=git-client.desktop\n"_s);
    {
        const BusServices services(trace(u"bus"_s), {u"org.freedesktop.FileManager1"_s});
        workspace_->open(folder_);
        EXPECT_TRUE(eventually([&] { return !readFile(trace(u"bus"_s)).isEmpty(); }));
    }
    EXPECT_EQ(readFile(trace(u"bus"_s)),
              u"org.freedesktop.FileManager1.ShowFolders (['%1'], '')\n"_s.arg(
                  QUrl::fromLocalFile(folder_).toString(QUrl::FullyEncoded)));
    workspace_->open(folder_);
    EXPECT_EQ(Trace(trace(u"git-client"_s)).arguments().size(), 1) << "without one, what there is";
}
