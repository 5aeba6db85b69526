#include "Platform/Linux/Icons/IconTheme.h"

#include "Worlds/QtPrinters.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class IconThemeTest : public ::testing::Test {
protected:
    QString path(const QString &name) const { return root_.path() + u'/' + name; }

    void file(const QString &name, const QByteArray &content = "x") const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile out(path(name));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
    }

    /** An index whose folders are given as "name|key=value|…". */
    void theme(const QString &name, const QString &inherits, const QStringList &folders) const {
        QString index = u"[Icon Theme]\nName=x\n"_s;
        if (!inherits.isEmpty())
            index += "Inherits="_L1 + inherits + u'\n';
        QStringList names;
        QString groups;
        for (const QString &folder : folders) {
            const QStringList parts = folder.split(u'|');
            names.append(parts.first());
            groups += u"\n[%1]\n%2\n"_s.arg(parts.first(), parts.mid(1).join(u'\n'));
        }
        index += "Directories="_L1 + names.join(u',') + u'\n' + groups;
        file(name + "/index.theme"_L1, index.toUtf8());
    }

    IconTheme load(const QString &name) const {
        return {name, {root_.path(), path(u"second"_s)}, {path(u"pixmaps"_s)}};
    }

    /** The path found, below the test's folder; "none" for none. */
    QString found(const IconTheme &theme, const QString &icon, int size = 32, int scale = 1) const {
        const auto file = theme.find(icon, size, scale);
        return file ? file->mid(root_.path().size() + 1) : u"none"_s;
    }

    QTemporaryDir root_;
};

} // namespace

TEST(IconThemeFolder, matchesAndDistanceFollowTheSizes) {
    struct Row {
        IconThemeFolder folder; // scale, minimum, maximum
        int size, scale;
        bool matches;
        int distance;
    };
    const Row rows[]{
        {{1, 32, 32}, 32, 1, true, 0},    {{1, 32, 32}, 33, 1, false, 1},
        {{1, 24, 24}, 32, 1, false, 8},   {{2, 32, 32}, 32, 1, false, 32},
        {{2, 32, 32}, 32, 2, true, 0},    {{1, 64, 64}, 32, 2, false, 0},
        {{1, 16, 256}, 32, 1, true, 0},   {{1, 48, 256}, 32, 1, false, 16},
        {{1, 8, 24}, 32, 1, false, 8},    {{1, 16, 256}, 32, 2, false, 0},
        {{2, 40, 256}, 32, 1, false, 48}, {{1, 28, 32}, 32, 1, true, 0},
        {{1, 32, 36}, 32, 1, true, 0},    {{1, 27, 31}, 32, 1, false, 1},
        {{1, 44, 52}, 32, 1, false, 12},
    };
    int number = 0;
    for (const Row &row : rows) {
        EXPECT_EQ(row.folder.matches(row.size, row.scale), row.matches) << "row " << number;
        EXPECT_EQ(row.folder.distance(row.size, row.scale), row.distance) << "row " << number;
        ++number;
    }
}

TEST_F(IconThemeTest, theTypeOfAFolderTellsTheSizesItIsMeantFor) {
    theme(u"t"_s, {},
          {u"fixed|Size=40|MinSize=1|MaxSize=99|Threshold=20|Type=Fixed"_s,
           u"scalable|Size=128|MinSize=64|MaxSize=256|Type=Scalable"_s,
           u"one|Size=30|Type=Scalable"_s, u"plain|Size=20|MinSize=1|MaxSize=99"_s,
           u"wide|Size=400|Threshold=100|Type=Threshold"_s});
    for (const QString &name : {u"fixed"_s, u"scalable"_s, u"one"_s, u"plain"_s, u"wide"_s})
        file("t/"_L1 + name + "/a.png"_L1);
    const IconTheme t = load(u"t"_s);
    const std::pair<int, QString> rows[]{
        {18, u"plain"_s},     {22, u"plain"_s},    {25, u"plain"_s},    {27, u"one"_s},
        {30, u"one"_s},       {34, u"one"_s},      {36, u"fixed"_s},    {40, u"fixed"_s},
        {51, u"fixed"_s},     {53, u"scalable"_s}, {64, u"scalable"_s}, {256, u"scalable"_s},
        {277, u"scalable"_s}, {279, u"wide"_s},    {500, u"wide"_s}};
    for (const auto &[size, folder] : rows)
        EXPECT_EQ(found(t, u"a"_s, size), "t/"_L1 + folder + "/a.png"_L1) << size;
}

TEST_F(IconThemeTest, theExactSizeWinsThenTheNearest) {
    theme(u"t"_s, {}, {u"16|Size=16|Type=Fixed"_s, u"32|Size=32|Type=Fixed"_s, u"48|Size=48"_s});
    for (const QString &name :
         {u"16/a.png"_s, u"32/a.png"_s, u"48/a.png"_s, u"16/b.png"_s, u"48/b.png"_s, u"16/c.png"_s})
        file("t/"_L1 + name);
    const IconTheme t = load(u"t"_s);
    EXPECT_EQ(found(t, u"a"_s), u"t/32/a.png");
    EXPECT_EQ(found(t, u"b"_s), u"t/48/b.png") << "14 with its threshold is nearer than 16";
    EXPECT_EQ(found(t, u"c"_s), u"t/16/c.png");
    EXPECT_EQ(found(t, u"d"_s), u"none");
}

TEST_F(IconThemeTest, aFolderForTheScaleWinsOverOneOfAsManyPixels) {
    theme(u"t"_s, {},
          {u"64|Size=64|Type=Fixed"_s, u"32@2x|Size=32|Scale=2|Type=Fixed"_s,
           u"32|Size=32|Type=Fixed"_s});
    for (const QString &name :
         {u"64/a.png"_s, u"32@2x/a.png"_s, u"32/a.png"_s, u"64/b.png"_s, u"32/b.png"_s})
        file("t/"_L1 + name);
    const IconTheme t = load(u"t"_s);
    EXPECT_EQ(found(t, u"a"_s, 32, 2), u"t/32@2x/a.png");
    EXPECT_EQ(found(t, u"a"_s, 32, 1), u"t/32/a.png");
    EXPECT_EQ(found(t, u"b"_s, 32, 2), u"t/64/b.png");
}

TEST_F(IconThemeTest, aFolderNamedInScaledDirectoriesCounts) {
    file(u"t/index.theme"_s, "[Icon Theme]\nDirectories=32\nScaledDirectories=32@2x\n"
                             "[32]\nSize=32\n[32@2x]\nSize=32\nScale=2\n");
    file(u"t/32/a.png"_s);
    file(u"t/32@2x/a.png"_s);
    EXPECT_EQ(found(load(u"t"_s), u"a"_s, 32, 2), u"t/32@2x/a.png");
}

TEST_F(IconThemeTest, pngComesBeforeSvgBeforeXpmInOneFolder) {
    theme(u"t"_s, {}, {u"32|Size=32"_s});
    for (const QString &name : {u"a.xpm"_s, u"a.svg"_s, u"a.png"_s, u"b.xpm"_s, u"b.svg"_s,
                                u"c.svgz"_s, u"c.xpm"_s, u"d.gif"_s, u"d.icon"_s})
        file("t/32/"_L1 + name);
    const IconTheme t = load(u"t"_s);
    EXPECT_EQ(found(t, u"a"_s), u"t/32/a.png");
    EXPECT_EQ(found(t, u"b"_s), u"t/32/b.svg");
    EXPECT_EQ(found(t, u"c"_s), u"t/32/c.svgz");
    EXPECT_EQ(found(t, u"d"_s), u"none");
}

TEST_F(IconThemeTest, aThemeIsAskedInEverySizeBeforeThoseItInheritsFrom) {
    theme(u"t"_s, u"parent, other"_s, {u"256|Size=256|Type=Fixed"_s});
    theme(u"parent"_s, u"grand"_s, {u"32|Size=32"_s});
    theme(u"grand"_s, {}, {u"32|Size=32"_s});
    theme(u"other"_s, {}, {u"32|Size=32"_s});
    theme(u"hicolor"_s, {}, {u"32|Size=32"_s});
    for (const QString &name :
         {u"t/256/a.png"_s, u"parent/32/a.png"_s, u"parent/32/b.png"_s, u"grand/32/b.png"_s,
          u"grand/32/c.png"_s, u"other/32/c.png"_s, u"other/32/d.png"_s, u"hicolor/32/d.png"_s,
          u"hicolor/32/e.png"_s, u"pixmaps/e.png"_s, u"pixmaps/f.xpm"_s, u"g.png"_s})
        file(name);
    const IconTheme t = load(u"t"_s);
    EXPECT_EQ(found(t, u"a"_s), u"t/256/a.png");
    EXPECT_EQ(found(t, u"b"_s), u"parent/32/b.png");
    EXPECT_EQ(found(t, u"c"_s), u"grand/32/c.png") << "depth first";
    EXPECT_EQ(found(t, u"d"_s), u"other/32/d.png");
    EXPECT_EQ(found(t, u"e"_s), u"hicolor/32/e.png");
    EXPECT_EQ(found(t, u"f"_s), u"pixmaps/f.xpm");
    EXPECT_EQ(found(t, u"g"_s), u"g.png") << "a base folder itself";
}

TEST_F(IconThemeTest, hicolorIsLastAlsoWhereAThemeInheritsFromItFirst) {
    theme(u"t"_s, u"hicolor,other"_s, {u"32|Size=32"_s});
    theme(u"other"_s, {}, {u"32|Size=32"_s});
    theme(u"hicolor"_s, {}, {u"32|Size=32"_s});
    file(u"other/32/a.png"_s);
    file(u"hicolor/32/a.png"_s);
    EXPECT_EQ(found(load(u"t"_s), u"a"_s), u"other/32/a.png");
}

TEST_F(IconThemeTest, aThemeMayBeSpreadOverTheBaseFolders) {
    theme(u"t"_s, {}, {u"32|Size=32"_s});
    file(u"t/32/a.png"_s);
    file(u"second/t/32/a.png"_s);
    file(u"second/t/32/b.png"_s);
    const IconTheme t = load(u"t"_s);
    EXPECT_EQ(found(t, u"a"_s), u"t/32/a.png") << "the first base folder comes first";
    EXPECT_EQ(found(t, u"b"_s), u"second/t/32/b.png");
}

TEST_F(IconThemeTest, brokenAndCircularThemesAreSurvived) {
    theme(u"a"_s, u"b"_s,
          {u"32|Size=32"_s, u"nogroup-size|Type=Fixed"_s, u"zero|Size=0"_s,
           u"huge|Size=2147483647|Scale=2147483647|MinSize=-2147483648"_s});
    theme(u"b"_s, u"a,b,gone,../a,.,"_s, {u"32|Size=32"_s});
    file(u"b/32/x.png"_s);
    file(u"a/zero/y.png"_s);
    EXPECT_EQ(found(load(u"a"_s), u"x"_s), u"b/32/x.png");
    EXPECT_EQ(found(load(u"a"_s), u"y"_s), u"none");
    file(u"a/huge/z.png"_s);
    EXPECT_EQ(found(load(u"a"_s), u"z"_s), u"a/huge/z.png");
    file(u"damaged/index.theme"_s, "\xff\xfe[[[\n=\n");
    EXPECT_EQ(found(load(u"damaged"_s), u"x"_s), u"none");
    EXPECT_EQ(found(load(u"gone"_s), u"x"_s), u"none");
    EXPECT_EQ(found(load(QString()), QString()), u"none");
    EXPECT_EQ(found(load(u"a"_s), u"../32/x"_s), u"none") << "a name is no path";
}

TEST_F(IconThemeTest, itIsCurrentUntilAThemesFolderChanges) {
    theme(u"t"_s, {}, {u"32|Size=32"_s});
    const IconTheme t = load(u"t"_s);
    EXPECT_TRUE(t.isCurrent());
    const std::timespec later[]{{0, UTIME_OMIT}, {4'000'000'000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(path(u"t"_s)).constData(), later, 0), 0);
    EXPECT_FALSE(t.isCurrent());
}

TEST_F(IconThemeTest, itIsNoLongerCurrentWhenAThemeAppears) {
    const IconTheme t = load(u"t"_s);
    EXPECT_TRUE(t.isCurrent());
    theme(u"t"_s, {}, {});
    EXPECT_FALSE(t.isCurrent());
}

TEST(IconBaseFolders, theUsersComeBeforeTheSystems) {
    const QByteArray before = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", "/one/:relative:/two");
    const QString home = QDir::homePath();
    EXPECT_EQ(iconBaseFolders(),
              (QStringList{home + "/.icons"_L1, home + "/.local/share/icons"_L1, u"/one/icons"_s,
                           u"/two/icons"_s, home + "/.local/share/flatpak/exports/share/icons"_L1,
                           u"/var/lib/flatpak/exports/share/icons"_s}));
    qunsetenv("XDG_DATA_DIRS");
    EXPECT_TRUE(iconBaseFolders().contains(u"/usr/share/icons"_s));
    qputenv("XDG_DATA_DIRS", before);
}
