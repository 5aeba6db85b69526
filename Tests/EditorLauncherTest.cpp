#include "EditorLauncher.h"

#include "Fakes/FakeSystemLog.h"
#include "Fakes/FakeWorkspace.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList toolsInOrder{
    u"Contents/Resources/app/bin/cursor"_s,
    u"Contents/Resources/app/bin/antigravity"_s,
    u"Contents/Resources/app/bin/code-insiders"_s,
    u"Contents/Resources/app/bin/windsurf"_s,
    u"Contents/Resources/app/bin/codium"_s,
    u"Contents/Resources/app/bin/code"_s,
    u"Contents/MacOS/cli"_s,
    u"Contents/SharedSupport/bin/code"_s,
};

const ProjectEntry web{u"web"_s, u"/home/x/Code/web"_s, {}};

class EditorLauncherTest : public ::testing::Test {
protected:
    QString bundle() const { return folder.filePath(u"Editor.app"_s); }
    AppEntry editor() const { return {u"Editor"_s, u"id"_s, bundle(), {}, {}, {}}; }

    enum class Mode { Executable, Plain };
    QString addTool(const QString &relativePath, Mode mode = Mode::Executable) const {
        const QString path = bundle() + u'/' + relativePath;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        QFileDevice::Permissions permissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
        if (mode == Mode::Executable)
            permissions |= QFileDevice::ExeOwner;
        file.setPermissions(permissions);
        return path;
    }

    QTemporaryDir folder;
    FakeWorkspace workspace;
    FakeSystemLog log;
    EditorLauncher launcher{workspace, log};
};

} // namespace

TEST_F(EditorLauncherTest, eachOfTheEightToolsIsFoundAndTheUpperOneWins) {
    for (auto tool = toolsInOrder.crbegin(); tool != toolsInOrder.crend(); ++tool) {
        const QString path = addTool(*tool);
        EXPECT_EQ(EditorLauncher::cliPath(bundle()), path);
    }
}

TEST_F(EditorLauncherTest, aBundleWithoutToolHasNone) {
    EXPECT_FALSE(EditorLauncher::cliPath(bundle()));
    EXPECT_FALSE(EditorLauncher::cliPath(u"/usr/share/applications/code.desktop"_s));
}

TEST_F(EditorLauncherTest, aToolThatIsNotExecutableIsSkipped) {
    addTool(toolsInOrder[0], Mode::Plain);
    EXPECT_FALSE(EditorLauncher::cliPath(bundle()));
    const QString lower = addTool(toolsInOrder[7]);
    EXPECT_EQ(EditorLauncher::cliPath(bundle()), lower);
}

TEST_F(EditorLauncherTest, aFolderInAToolsPlaceIsSkipped) {
    QDir().mkpath(bundle() + u'/' + toolsInOrder[0]);
    EXPECT_FALSE(EditorLauncher::cliPath(bundle()));
}

TEST_F(EditorLauncherTest, withoutAnEditorTheFolderOpensWithItsDefaultHandler) {
    launcher.open(web, std::nullopt);
    EXPECT_EQ(workspace.calls, QStringList{u"open /home/x/Code/web"_s});
}

TEST_F(EditorLauncherTest, theToolGetsExactlyTheProjectsPath) {
    const QString tool = addTool(u"Contents/Resources/app/bin/code"_s);
    launcher.open(web, editor());
    EXPECT_EQ(workspace.tools, (std::vector<FakeWorkspace::Tool>{{tool, {web.path}}}));
    EXPECT_TRUE(workspace.openedFiles.empty());
}

TEST_F(EditorLauncherTest, withoutAToolTheWorkspaceOpensTheFolderWithTheEditor) {
    launcher.open(web, editor());
    EXPECT_TRUE(workspace.tools.empty());
    EXPECT_EQ(workspace.openedFiles, (std::vector<FakeWorkspace::Opened>{{{web.path}, bundle()}}));
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST_F(EditorLauncherTest, aTerminalOpensInTheFolder) {
    AppEntry terminal = editor();
    terminal.roles = {u"developer-tool"_s, u"terminal"_s};
    launcher.open(web, terminal);
    EXPECT_EQ(workspace.openedTerminals,
              (std::vector<FakeWorkspace::Opened>{{{web.path}, bundle()}}));
    EXPECT_TRUE(workspace.openedFiles.empty());
    workspace.openingError = u"no such program"_s;
    launcher.open(web, terminal);
    EXPECT_EQ(log.lines,
              QStringList{u"Corvid: failed to open /home/x/Code/web in Editor: no such program"_s});
}

TEST_F(EditorLauncherTest, aCodeEditorThatIsATerminalBesidesOpensTheFolder) {
    AppEntry both = editor();
    both.roles = {u"terminal"_s, u"code-editor"_s};
    launcher.open(web, both);
    EXPECT_EQ(workspace.openedFiles, (std::vector<FakeWorkspace::Opened>{{{web.path}, bundle()}}));
}

TEST_F(EditorLauncherTest, aToolThatDoesNotStartFallsBackToTheWorkspace) {
    addTool(u"Contents/MacOS/cli"_s);
    workspace.toolError = u"no such interpreter"_s;
    launcher.open(web, editor());
    EXPECT_EQ(workspace.openedFiles, (std::vector<FakeWorkspace::Opened>{{{web.path}, bundle()}}));
}

TEST_F(EditorLauncherTest, aFailureOfTheWorkspaceLeavesOneLineInTheSystemLog) {
    workspace.openingError = u"no such program"_s;
    launcher.open(web, editor());
    EXPECT_EQ(log.lines,
              QStringList{u"Corvid: failed to open /home/x/Code/web in Editor: no such program"_s});
}
