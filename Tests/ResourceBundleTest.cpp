#include "resource_bundle_accessor.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(ResourceBundle, theInstalledFolderComesFirst) {
    const QTemporaryDir folder;
    QDir(folder.path()).mkdir(u"installed"_s);
    QDir(folder.path()).mkdir(u"built"_s);
    EXPECT_EQ(chooseResourceBundle(folder.filePath(u"installed"_s), folder.filePath(u"built"_s)),
              folder.filePath(u"installed"_s));
}

TEST(ResourceBundle, theBuildTreesFolderIsTheSecondChoice) {
    const QTemporaryDir folder;
    QDir(folder.path()).mkdir(u"built"_s);
    EXPECT_EQ(chooseResourceBundle(folder.filePath(u"installed"_s), folder.filePath(u"built"_s)),
              folder.filePath(u"built"_s));
}

TEST(ResourceBundle, aFileIsNotABundle) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"installed"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    QDir(folder.path()).mkdir(u"built"_s);
    EXPECT_EQ(chooseResourceBundle(folder.filePath(u"installed"_s), folder.filePath(u"built"_s)),
              folder.filePath(u"built"_s));
}

TEST(ResourceBundle, theBuildTreeHasOne) {
    EXPECT_EQ(resourceBundle(), QStringLiteral(CORVID_BUILD_FOLDER "/Corvid_Corvid.bundle"));
    EXPECT_TRUE(QFileInfo(resourceBundle()).isDir());
}

TEST(ResourceBundleDeathTest, withoutAnyTheProgramStopsAndNamesBothPlaces) {
    EXPECT_DEATH(chooseResourceBundle(u"/nowhere/a"_s, u"/nowhere/b"_s),
                 "could not load resource bundle: from /nowhere/a or /nowhere/b");
}
