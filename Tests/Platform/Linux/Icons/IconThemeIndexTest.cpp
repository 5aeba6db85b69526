#include "Platform/Linux/Icons/IconThemeIndex.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(IconThemeIndex, whatIsNoKeyFileIsNoIndex) {
    EXPECT_FALSE(parseIconThemeIndex("Directories=a"));
    EXPECT_FALSE(parseIconThemeIndex("\xff\0[Icon Theme"));
    EXPECT_TRUE(parseIconThemeIndex("[Other]\n")->folders.empty());
}

TEST(IconThemeIndex, eachFolderAndParentIsNamedOnce) {
    const auto index = parseIconThemeIndex("[Icon Theme]\nInherits=a, b,a,\nDirectories=x,y,x\n"
                                           "ScaledDirectories=y,z\n"
                                           "[x]\nSize=16\n[y]\nSize=24\n[z]\nSize=32\n");
    ASSERT_TRUE(index);
    EXPECT_EQ(index->parents, (QStringList{u"a"_s, u"b"_s}));
    QStringList names;
    for (const auto &[name, folder] : index->folders)
        names.append(name);
    EXPECT_EQ(names, (QStringList{u"x"_s, u"y"_s, u"z"_s}));
}

TEST(IconThemeIndex, moreNamesThanAThemeHasAreLeftOut) {
    QByteArray names;
    QByteArray groups;
    for (int i = 0; i < 20'000; ++i) {
        const QByteArray name = 'n' + QByteArray::number(i);
        names += name + ',';
        groups += '[' + name + "]\nSize=16\n";
    }
    const auto index = parseIconThemeIndex("[Icon Theme]\nInherits=" + names +
                                           "\nDirectories=" + names + '\n' + groups);
    ASSERT_TRUE(index);
    EXPECT_LE(index->folders.size(), 4'000U);
    EXPECT_LE(index->parents.size(), 50);
}
