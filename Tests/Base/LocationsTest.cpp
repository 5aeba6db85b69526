#include "Base/Locations.h"

#include <QFile>

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class Locations : public ::testing::Test {
protected:
    Locations() : home_(qgetenv("HOME")) {}
    ~Locations() override {
        qputenv("HOME", home_);
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
        qunsetenv("XDG_STATE_HOME");
        qputenv("XDG_DATA_DIRS", dataDirs_);
    }

    const QByteArray home_;
    const QByteArray dataDirs_ = qgetenv("XDG_DATA_DIRS");
};

} // namespace

TEST_F(Locations, theHomeFolderIsThatOfTheEnvironment) {
    qputenv("HOME", "/home/somebody");
    EXPECT_EQ(locations::home(), u"/home/somebody");
}

TEST_F(Locations, withoutHomeInTheEnvironmentItIsTheAccounts) {
    const passwd *account = getpwuid(getuid());
    ASSERT_NE(account, nullptr);
    const QString accounts = QFile::decodeName(account->pw_dir);
    qunsetenv("HOME");
    EXPECT_EQ(locations::home(), accounts);
    qputenv("HOME", "");
    EXPECT_EQ(locations::home(), accounts);
}

TEST_F(Locations, trailingSlashesOfTheHomeFolderAreDropped) {
    qputenv("HOME", "/home/somebody//");
    EXPECT_EQ(locations::home(), u"/home/somebody");
    EXPECT_EQ(locations::configuration(), u"/home/somebody/.config");
}

TEST_F(Locations, theRootFolderMayBeHome) {
    qputenv("HOME", "/");
    EXPECT_EQ(locations::home(), u"/");
}

TEST_F(Locations, belowTheRootFolderAsHomeNoSlashIsDoubled) {
    qputenv("HOME", "/");
    EXPECT_EQ(locations::applicationSupport(), u"/.local/share");
    EXPECT_EQ(locations::configuration(), u"/.config");
}

TEST_F(Locations, unsetVariablesMeanTheDefaultsBelowHome) {
    qputenv("HOME", "/home/somebody");
    EXPECT_EQ(locations::applicationSupport(), u"/home/somebody/.local/share");
    EXPECT_EQ(locations::configuration(), u"/home/somebody/.config");
    EXPECT_EQ(locations::state(), u"/home/somebody/.local/state");
}

TEST_F(Locations, anEmptyOrRelativeVariableCountsAsUnset) {
    qputenv("HOME", "/home/somebody");
    for (const char *value : {"", ".", "..", "data", "./data", "~/data", " /data"}) {
        qputenv("XDG_DATA_HOME", value);
        qputenv("XDG_CONFIG_HOME", value);
        qputenv("XDG_STATE_HOME", value);
        EXPECT_EQ(locations::applicationSupport(), u"/home/somebody/.local/share") << value;
        EXPECT_EQ(locations::configuration(), u"/home/somebody/.config") << value;
        EXPECT_EQ(locations::state(), u"/home/somebody/.local/state") << value;
    }
}

TEST_F(Locations, anAbsoluteVariableIsTakenWithoutItsTrailingSlashes) {
    qputenv("XDG_DATA_HOME", "/data//");
    qputenv("XDG_CONFIG_HOME", "/c\xC3\xB6nfig/");
    qputenv("XDG_STATE_HOME", "/state/");
    EXPECT_EQ(locations::applicationSupport(), u"/data");
    EXPECT_EQ(locations::state(), u"/state");
    EXPECT_EQ(locations::configuration(), u"/c\u00f6nfig");
}

TEST_F(Locations, theVariablesAreReadAfreshAtEveryCall) {
    qputenv("XDG_DATA_HOME", "/one");
    EXPECT_EQ(locations::applicationSupport(), u"/one");
    qputenv("XDG_DATA_HOME", "/two");
    EXPECT_EQ(locations::applicationSupport(), u"/two");
}

TEST_F(Locations, ofTheSystemsDataFoldersThoseThatAreAbsoluteCountInTheirOrder) {
    qputenv("XDG_DATA_DIRS", "/one/:relative::/t\xC3\xB6o//two:./three");
    EXPECT_EQ(locations::systemData(), (QStringList{u"/one"_s, u"/t\u00f6o/two"_s}));
    const QStringList usual{u"/usr/local/share"_s, u"/usr/share"_s};
    for (const char *value : {"", "relative:./other", "::"}) {
        qputenv("XDG_DATA_DIRS", value);
        EXPECT_EQ(locations::systemData(), usual) << value;
    }
}

TEST_F(Locations, soDoTheSystemsFoldersForConfiguration) {
    qputenv("XDG_CONFIG_DIRS", "/one/:relative::/two//three");
    EXPECT_EQ(locations::systemConfiguration(), (QStringList{u"/one"_s, u"/two/three"_s}));
    qunsetenv("XDG_CONFIG_DIRS");
    EXPECT_EQ(locations::systemConfiguration(), QStringList{u"/etc/xdg"_s});
}

TEST_F(Locations, flatpaksDataIsTheUsersAndEverybodys) {
    qputenv("XDG_DATA_HOME", "/data");
    EXPECT_EQ(locations::flatpakData(),
              (QStringList{u"/data/flatpak/exports/share"_s, u"/var/lib/flatpak/exports/share"_s}));
}

TEST_F(Locations, cacheFilesLieInOurFolderOfTheApplicationSupport) {
    qputenv("XDG_DATA_HOME", "/data");
    EXPECT_EQ(locations::cacheFile(u"catalog.json"_s), u"/data/Corvid/catalog.json");
}
