#include "Platform/Linux/Launching/SessionWorkspace.h"

#include "Platform/DesktopEntries.h"
#include "Worlds/ChildEnvironments.h"
#include "Worlds/LaunchWorld.h"
#include "Worlds/XServer.h"

#include <QImage>

#include <csignal>
#include <optional>

using namespace corvid;
using namespace corvid::test;

namespace {

const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

class OneEntry final : public DesktopEntries {
public:
    explicit OneEntry(const QString &path, const QString &id = u"org.example.App"_s)
        : path_(path), id_(id) {}
    std::vector<DesktopEntry> list() const override {
        DesktopEntry entry;
        entry.id = id_;
        entry.path = path_;
        return {entry};
    }

private:
    QString path_;
    QString id_;
};

class SessionWorkspaceTest : public ::testing::Test {
protected:
    SessionWorkspaceTest() {
        // The window's class says nothing, so only the launch tells whose it is.
        writeFile(program_,
                  u"#!/bin/sh\necho $$ >> '%1'\nexec '%2' x X\n"_s.arg(
                      pids_, QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_x11_client")));
        QFile::setPermissions(program_, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        writeFile(entry_,
                  u"[Desktop Entry]\nType=Application\nName=App\nExec=%1\n"_s.arg(program_));
        begin(entries_);
    }
    ~SessionWorkspaceTest() override {
        for (const QString &pid : pids())
            kill(pid.toInt(), SIGTERM);
    }

    void begin(const DesktopEntries &entries) {
        SessionWorkspace::Options options;
        options.childEnvironment = childEnvironment(server_.environment());
        options.displays.x11 = server_.display();
        workspace_.emplace(entries, options);
        workspace_->setEntries(entries.list());
        workspace_->start();
    }

    QStringList pids() const { return readFile(pids_).split(u'\n', Qt::SkipEmptyParts); }

    QString open() { return open(entry_); }
    QString open(const QString &path) {
        std::optional<QString> result;
        workspace_->openApplication(path, [&](const QString &error) { result = error; });
        EXPECT_FALSE(result) << "the completion must not run inside the call";
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
        return result.value_or(u"no completion"_s);
    }

    const XServer server_;
    const QTemporaryDir folder_;
    const QString program_ = folder_.filePath(u"app"_s);
    const QString entry_ = folder_.filePath(u"org.example.App.desktop"_s);
    const QString pids_ = folder_.filePath(u"pids"_s);
    const OneEntry entries_{entry_};
    std::optional<SessionWorkspace> workspace_;
};

} // namespace

TEST_F(SessionWorkspaceTest, whatWeLaunchIsKnownToRunAndIsThenBroughtToTheFront) {
    EXPECT_EQ(open(), QString());
    EXPECT_TRUE(eventually(
        [&] { return workspace_->runningApplications() == QSet<QString>{u"org.example.App"_s}; }));
    EXPECT_EQ(open(), QString());
    EXPECT_EQ(pids().size(), 1) << "started a second time";

    kill(pids().first().toInt(), SIGTERM);
    EXPECT_TRUE(eventually([&] { return workspace_->runningApplications().isEmpty(); }));
    EXPECT_EQ(open(), QString());
    EXPECT_TRUE(eventually([&] { return pids().size() == 2; }));
}

TEST_F(SessionWorkspaceTest, anAppImageIsExecutedAndThenBroughtToTheFront) {
    const QString image = folder_.filePath(u"App-1.0.AppImage"_s);
    ASSERT_TRUE(QFile::copy(program_, image));
    const OneEntry entries(image, u"appimage.App"_s);
    begin(entries);
    EXPECT_EQ(open(image), QString());
    EXPECT_TRUE(eventually(
        [&] { return workspace_->runningApplications() == QSet<QString>{u"appimage.App"_s}; }));
    EXPECT_EQ(open(image), QString());
    EXPECT_EQ(pids().size(), 1) << "started a second time";
    workspace_.reset();
}

TEST_F(SessionWorkspaceTest, anAppImageThatMayNotBeExecutedSaysSo) {
    const QString image = folder_.filePath(u"App.AppImage"_s);
    writeFile(image, u"#!/bin/sh\n"_s);
    EXPECT_NE(open(image), QString());
}

TEST_F(SessionWorkspaceTest, whatEndedAnInstantAgoIsStartedAnew) {
    EXPECT_EQ(open(), QString());
    EXPECT_TRUE(eventually([&] { return !workspace_->runningApplications().isEmpty(); }));
    kill(pids().first().toInt(), SIGKILL);
    EXPECT_FALSE(workspace_->runningApplications().isEmpty()) << "we cannot know yet";
    EXPECT_EQ(open(), QString());
    EXPECT_TRUE(eventually([&] { return pids().size() == 2; }));
}

TEST_F(SessionWorkspaceTest, aNewWindowIsOneEvenWhereTheApplicationRuns) {
    EXPECT_EQ(open(), QString());
    EXPECT_TRUE(eventually([&] { return !workspace_->runningApplications().isEmpty(); }));
    std::optional<QString> result;
    workspace_->openNewWindow(entry_, [&](const QString &error) { result = error; });
    EXPECT_TRUE(eventually([&] { return result && pids().size() == 2; }));
}

TEST_F(SessionWorkspaceTest, filesGoToTheProgramEvenWhereItRuns) {
    EXPECT_EQ(open(), QString());
    EXPECT_TRUE(eventually([&] { return !workspace_->runningApplications().isEmpty(); }));
    std::optional<QString> result;
    workspace_->openFiles({u"/tmp/a"_s}, entry_, [&](const QString &error) { result = error; });
    EXPECT_TRUE(eventually([&] { return result && pids().size() == 2; }));
}

TEST_F(SessionWorkspaceTest, anyPathHasAnIcon) {
    for (const QString &path : {entry_, folder_.path(), QDir::homePath(), u"/no/such"_s}) {
        const Image icon = workspace_->icon(path);
        ASSERT_TRUE(icon) << qPrintable(path);
        EXPECT_EQ(icon->size(), QSize(32, 32)) << qPrintable(path);
    }
    EXPECT_EQ(workspace_->icon(u"/no/such"_s), workspace_->genericIcon());
}

TEST(SessionWorkspaceWithoutBus, losingTheBusIsSurvived) {
    PrivateBus ownBus;
    ownBus.SetUp();
    const OneEntry entries({});
    const SessionWorkspace workspace(entries, {});
    EXPECT_TRUE(workspace.icon(QDir::homePath()));
    ownBus.TearDown();
    // The end of the process would come from a thread of GLib's.
    EXPECT_FALSE(eventually([] { return false; }, 300));
}
