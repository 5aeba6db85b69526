// The desktop's own dialog for folders, asked for over a real bus.

#include "Platform/Linux/Bus/PortalFolderDialog.h"

#include "Worlds/FileChooser.h"
#include "Worlds/LaunchWorld.h"

#include <QWindow>

#include <gtest/gtest.h>

using namespace corvid;
using namespace corvid::test;

namespace {

[[maybe_unused]] const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

struct PortalFolderDialogTest : ::testing::Test {
    void choose() {
        answered = false;
        dialog.emplace();
        ask();
    }
    void ask() {
        dialog->choose(window, u"Add"_s, [this](const std::optional<QStringList> &chosen) {
            EXPECT_FALSE(answered) << "once";
            answered = true;
            folders = chosen;
        });
    }
    bool done() {
        return eventually([this] { return answered; });
    }

    QWindow window;
    std::optional<PortalFolderDialog> dialog;
    bool answered = false;
    std::optional<QStringList> folders;
};

} // namespace

TEST_F(PortalFolderDialogTest, asksForSeveralFoldersWithThePromptOnTheButton) {
    FileChooser portal;
    choose();
    ASSERT_TRUE(portal.was(u"OpenFile"_s));
    for (const QString &option :
         {u"'accept_label': <'Add'>"_s, u"'directory': <true>"_s, u"'multiple': <true>"_s,
          u"'modal': <true>"_s, u"('', 'Add folders', "_s})
        EXPECT_TRUE(portal.told().contains(option)) << qPrintable(portal.told());
    EXPECT_FALSE(answered) << "the user has not";
}

TEST_F(PortalFolderDialogTest, theFoldersComeInTheDialogsOrderAsPaths) {
    FileChooser portal;
    choose();
    ASSERT_TRUE(portal.was(u"OpenFile"_s));
    portal.answer("0 file:///z file:///home/a%20b/%C3%A9 sftp://host/away file:///a");
    ASSERT_TRUE(done());
    EXPECT_EQ(folders, (QStringList{u"/z"_s, u"/home/a b/é"_s, u"/a"_s}))
        << "those elsewhere have no path";
}

TEST_F(PortalFolderDialogTest, cancelledMeansNoFolders) {
    FileChooser portal;
    for (const char *answer : {"1 file:///a", "2", "odd"}) {
        const qsizetype before = portal.told().count(u"OpenFile"_s);
        choose();
        ASSERT_TRUE(eventually([&] { return portal.told().count(u"OpenFile"_s) > before; }));
        portal.answer(answer);
        ASSERT_TRUE(done()) << answer;
        EXPECT_EQ(folders, QStringList()) << answer;
    }
}

TEST_F(PortalFolderDialogTest, withoutAPortalThatKnowsFoldersThereIsNoDialog) {
    choose();
    ASSERT_TRUE(done());
    EXPECT_EQ(folders, std::nullopt);
    FileChooser old(2);
    choose();
    ASSERT_TRUE(done());
    EXPECT_EQ(folders, std::nullopt);
    EXPECT_FALSE(old.told().contains(u"OpenFile"_s));
}

TEST_F(PortalFolderDialogTest, withoutABusThereIsNoDialog) {
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    choose();
    EXPECT_TRUE(done());
    EXPECT_EQ(folders, std::nullopt);
    qputenv("DBUS_SESSION_BUS_ADDRESS", before);
}

TEST_F(PortalFolderDialogTest, aPortalThatGoesAwayCountsAsCancelled) {
    FileChooser portal;
    choose();
    ASSERT_TRUE(portal.was(u"OpenFile"_s));
    portal.leave();
    ASSERT_TRUE(done());
    EXPECT_EQ(folders, QStringList());
}

TEST_F(PortalFolderDialogTest, destroyedItClosesTheDialogAndSaysNothing) {
    FileChooser portal;
    choose();
    ASSERT_TRUE(portal.was(u"OpenFile"_s));
    dialog.reset();
    EXPECT_TRUE(portal.was(u"Close"_s));
    portal.answer("0 file:///a");
    EXPECT_FALSE(answered);
}

TEST_F(PortalFolderDialogTest, anotherChoiceTakesThePlaceOfTheOneBefore) {
    FileChooser portal;
    choose();
    ASSERT_TRUE(portal.was(u"OpenFile"_s));
    ask();
    ASSERT_TRUE(portal.was(u"Close"_s));
    ASSERT_TRUE(eventually([&] { return portal.told().count(u"OpenFile"_s) == 2; }));
    portal.answer("0 file:///b");
    ASSERT_TRUE(done());
    EXPECT_EQ(folders, QStringList{u"/b"_s});
}
