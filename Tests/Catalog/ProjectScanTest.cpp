#include "Catalog/ProjectScan.h"

#include "Fakes/FakeVolumes.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class ProjectScan : public testing::Test {
protected:
    QString at(const QString &relative) const { return root() + u'/' + relative; }
    QString root() const { return temporary_.path(); }

    void folder(const QString &relative) { ASSERT_TRUE(QDir().mkpath(at(relative))); }

    /** An empty file, and the folders above it. */
    void file(const QString &relative) {
        const QString path = at(relative);
        ASSERT_TRUE(QDir().mkpath(path.left(path.lastIndexOf(u'/'))));
        ASSERT_TRUE(QFile(path).open(QIODevice::WriteOnly));
    }

    /** Entries "<prefix>0", "<prefix>1", …; hard links, which are made faster than files. */
    void files(const QString &folder, int count, const std::string &prefix = {}) {
        file(folder + u'/' + QString::fromStdString(prefix) + u'0');
        const int directory = open(QFile::encodeName(at(folder)).constData(), O_RDONLY);
        const std::string first = prefix + "0";
        for (int i = 1; i < count; ++i) {
            const std::string name = prefix + std::to_string(i);
            ASSERT_EQ(linkat(directory, first.c_str(), directory, name.c_str(), 0), 0);
        }
        close(directory);
    }

    void link(const QString &relative, const QString &target) {
        ASSERT_EQ(symlink(QFile::encodeName(target).constData(),
                          QFile::encodeName(at(relative)).constData()),
                  0);
    }

    std::vector<ProjectEntry> scanned() { return scan({root()}, volumes_); }

    /** Paths below the root of the projects found, sorted. */
    QStringList found(const std::vector<ProjectEntry> &projects) const {
        QStringList paths;
        for (const ProjectEntry &project : projects)
            paths.append(project.path.mid(root().size() + 1));
        paths.sort();
        return paths;
    }
    QStringList found() { return found(scanned()); }

    // QTemporaryDir cannot remove names that are no UTF-8.
    void TearDown() override { std::filesystem::remove_all(root().toStdString()); }

    FakeVolumes volumes_;

private:
    QTemporaryDir temporary_;
};

MarkerSet markersOf(std::initializer_list<std::string_view> names) {
    MarkerSet rows = 0;
    for (const std::string_view name : names)
        rows |= corvid::markersOf(name);
    return rows;
}

struct MarkerRow {
    const char *entry; ///< a name that satisfies the row
    const char *stack;
};

constexpr std::array<MarkerRow, 27> markerRows{{
    {".git", "git"},
    {"package.json", "js"},
    {"Cargo.toml", "rust"},
    {"go.mod", "go"},
    {"pyproject.toml", "python"},
    {"requirements.txt", "python"},
    {"Gemfile", "ruby"},
    {"composer.json", "php"},
    {"pom.xml", "java"},
    {"build.gradle", "gradle"},
    {"build.gradle.kts", "gradle"},
    {"Package.swift", "swift"},
    {"App.xcodeproj", "xcode"},
    {"App.xcworkspace", "xcode"},
    {"all.code-workspace", "vscode"},
    {"mix.exs", "elixir"},
    {"deno.json", "deno"},
    {"deno.jsonc", "deno"},
    {"pubspec.yaml", "flutter"},
    {"index.html", "web"},
    {"CMakeLists.txt", "cmake"},
    {"Makefile", "make"},
    {"App.sln", "dotnet"},
    {"App.csproj", "dotnet"},
    {"stack.yaml", "haskell"},
    {"project.clj", "clojure"},
    {"Dockerfile", "docker"},
}};

class ProjectScanMarker : public ProjectScan, public testing::WithParamInterface<MarkerRow> {};

constexpr std::array<const char *, 22> skipped{
    "node_modules", ".build", "dist",    "build", "target", "vendor",           "__pycache__",
    ".next",        ".nuxt",  "Pods",    ".venv", "venv",   "DerivedData",      "coverage",
    ".cache",       ".turbo", "Library", ".hg",   ".svn",   "bower_components", "Carthage",
    ".dart_tool"};

class ProjectScanSkipped : public ProjectScan, public testing::WithParamInterface<const char *> {};

std::string testName(const char *text) {
    std::string name;
    for (const char *c = text; *c; ++c)
        name += isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
    return name;
}

} // namespace

// Markers

TEST_P(ProjectScanMarker, asAFileMakesItsFolderAProjectOfThatStack) {
    file(u"web/"_s + QString::fromLatin1(GetParam().entry));
    EXPECT_EQ(scanned(), (std::vector<ProjectEntry>{
                             {u"web"_s, at(u"web"_s), {QString::fromLatin1(GetParam().stack)}}}));
}

TEST_P(ProjectScanMarker, asAFolderMakesItsFolderAProjectOfThatStack) {
    folder(u"web/"_s + QString::fromLatin1(GetParam().entry));
    EXPECT_EQ(scanned(), (std::vector<ProjectEntry>{
                             {u"web"_s, at(u"web"_s), {QString::fromLatin1(GetParam().stack)}}}));
}

TEST_P(ProjectScanMarker, ofAnotherLetterCaseIsNone) {
    const QString entry = QString::fromLatin1(GetParam().entry);
    file(u"web/"_s + (entry == entry.toUpper() ? entry.toLower() : entry.toUpper()));
    EXPECT_EQ(found(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Table, ProjectScanMarker, testing::ValuesIn(markerRows),
                         [](const auto &row) { return testName(row.param.entry); });

TEST_F(ProjectScan, theMarkerTableHasTheseRowsInThisOrder) {
    for (std::size_t row = 0; row < markers.size(); ++row) {
        EXPECT_EQ(corvid::markersOf(markerRows[row].entry), MarkerSet{1} << row)
            << markerRows[row].entry;
        EXPECT_EQ(markers[row].stack, markerRows[row].stack);
    }
}

TEST_F(ProjectScan, aNameThatOnlyContainsAMarkerIsNone) {
    for (const char *name : {"package.jso", "xpackage.json", "package.json5", "Makefile.am", "git",
                             "", "*.sln", "App.slnx", "sln", "xcodeproj", "Dockerfile.dev",
                             "a-name-that-is-longer-than-every-marker.json"}) {
        const MarkerSet expected = std::string_view(name) == "*.sln" ? MarkerSet{1} << 22 : 0;
        EXPECT_EQ(corvid::markersOf(name), expected) << name;
    }
}

TEST_F(ProjectScan, aStackIsNamedOnceHoweverManyMarkersShareIt) {
    EXPECT_EQ(detectStack(markersOf({"pyproject.toml", "requirements.txt"})),
              QStringList{u"python"_s});
    EXPECT_EQ(detectStack(markersOf({"App.xcodeproj", "App.xcworkspace"})),
              QStringList{u"xcode"_s});
    EXPECT_EQ(detectStack(markersOf({"build.gradle", "build.gradle.kts"})),
              QStringList{u"gradle"_s});
    EXPECT_EQ(detectStack(markersOf({"deno.json", "deno.jsonc"})), QStringList{u"deno"_s});
    EXPECT_EQ(detectStack(markersOf({"a.sln", "b.sln", "c.csproj"})), QStringList{u"dotnet"_s});
}

TEST_F(ProjectScan, stacksComeInTheOrderOfTheTable) {
    file(u"web/Dockerfile"_s);
    file(u"web/Makefile"_s);
    file(u"web/package.json"_s);
    folder(u"web/.git"_s);
    ASSERT_EQ(scanned().size(), 1u);
    EXPECT_EQ(scanned().front().stack, (QStringList{u"git"_s, u"js"_s, u"make"_s, u"docker"_s}));
}

TEST_F(ProjectScan, noMarkersMakeNoProject) {
    file(u"notes/readme.md"_s);
    EXPECT_EQ(detectStack(0), QStringList());
    EXPECT_EQ(found(), QStringList());
}

TEST_F(ProjectScan, aLinkThatLeadsSomewhereIsAGitMarker) {
    folder(u"elsewhere"_s);
    folder(u"web"_s);
    link(u"web/.git"_s, at(u"elsewhere"_s));
    EXPECT_EQ(found(), QStringList{u"web"_s});
}

TEST_F(ProjectScan, aDanglingLinkIsNoGitMarker) {
    folder(u"web"_s);
    link(u"web/.git"_s, at(u"missing"_s));
    EXPECT_EQ(found(), QStringList());
}

TEST_F(ProjectScan, anyOtherMarkerIsMatchedByNameEvenAsADanglingLink) {
    folder(u"web"_s);
    link(u"web/Makefile"_s, at(u"missing"_s));
    EXPECT_EQ(found(), QStringList{u"web"_s});
}

TEST_F(ProjectScan, hiddenEntriesAreNoMarkersSaveGit) {
    file(u"a/.App.sln"_s);
    file(u"b/.xcodeproj"_s);
    file(u"c/.gitignore"_s);
    EXPECT_EQ(found(), QStringList());
}

// Which folders are entered

TEST_P(ProjectScanSkipped, isNeverEntered) {
    file(QString::fromLatin1(GetParam()) + u"/web/package.json"_s);
    file(QString::fromLatin1(GetParam()) + u"/package.json"_s);
    EXPECT_EQ(found(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Table, ProjectScanSkipped, testing::ValuesIn(skipped),
                         [](const auto &name) { return testName(name.param); });

TEST_F(ProjectScan, theSkippedNamesAreTheseAndNoOthers) {
    EXPECT_TRUE(std::equal(skipDirs.begin(), skipDirs.end(), skipped.begin(), skipped.end()));
}

TEST_F(ProjectScan, skippedNamesAreMatchedWithTheirLetterCase) {
    file(u"Node_Modules/package.json"_s);
    file(u"pods/package.json"_s);
    EXPECT_EQ(found(), (QStringList{u"Node_Modules"_s, u"pods"_s}));
}

TEST_F(ProjectScan, aRootWithASkippedNameIsWalked) {
    file(u"vendor/web/package.json"_s);
    file(u"Tool.app/web/package.json"_s);
    file(u".hidden/web/package.json"_s);
    EXPECT_EQ(found(scan({at(u"vendor"_s), at(u"Tool.app"_s), at(u".hidden"_s)}, volumes_)),
              (QStringList{u".hidden/web"_s, u"Tool.app/web"_s, u"vendor/web"_s}));
}

TEST_F(ProjectScan, hiddenFoldersAreNotEntered) {
    file(u".config/web/package.json"_s);
    EXPECT_EQ(found(), QStringList());
}

TEST_F(ProjectScan, applicationFoldersAreNotEntered) {
    file(u"Tool.app/package.json"_s);
    file(u"Tool.app/web/package.json"_s);
    file(u"Tool.APP/package.json"_s);
    file(u"app/package.json"_s);
    EXPECT_EQ(found(), (QStringList{u"Tool.APP"_s, u"app"_s}));
}

TEST_F(ProjectScan, depthFourIsFoundAndDepthFiveIsNot) {
    file(u"1/2/3/4/package.json"_s);
    file(u"a/b/c/d/e/package.json"_s);
    EXPECT_EQ(found(), QStringList{u"1/2/3/4"_s});
}

TEST_F(ProjectScan, theRootItselfCanBeAProject) {
    file(u"go.mod"_s);
    EXPECT_EQ(scanned(), (std::vector<ProjectEntry>{
                             {root().mid(root().lastIndexOf(u'/') + 1), root(), {u"go"_s}}}));
}

TEST_F(ProjectScan, projectsInsideProjectsAreFound) {
    file(u"mono/package.json"_s);
    file(u"mono/packages/ui/package.json"_s);
    file(u"mono/packages/ui/sample/package.json"_s);
    EXPECT_EQ(found(),
              (QStringList{u"mono"_s, u"mono/packages/ui"_s, u"mono/packages/ui/sample"_s}));
}

TEST_F(ProjectScan, siblingsOfEveryDepthGetTheirOwnPath) {
    QStringList expected;
    for (const QString &top : {u"a"_s, u"b"_s, u"c"_s}) {
        for (const QString &middle : {u"long-name"_s, u"x"_s}) {
            for (const QString &leaf : {u"p"_s, u"quite-long"_s, u"r"_s}) {
                const QString path = QStringList{top, middle, leaf}.join(u'/');
                file(path + u"/Makefile"_s);
                expected.append(path);
            }
        }
        file(top + u"/plain/readme"_s);
    }
    expected.sort();
    EXPECT_EQ(found(), expected);
}

TEST_F(ProjectScan, linksToFoldersAreNotFollowed) {
    file(u"real/package.json"_s);
    link(u"alias"_s, at(u"real"_s));
    EXPECT_EQ(found(), QStringList{u"real"_s});
}

TEST_F(ProjectScan, linksThatLeadInCirclesEndTheWalkLikeAnyOther) {
    file(u"a/package.json"_s);
    link(u"a/up"_s, root());
    link(u"a/self"_s, at(u"a/self"_s));
    link(u"a/one"_s, at(u"a/two"_s));
    link(u"a/two"_s, at(u"a/one"_s));
    EXPECT_EQ(found(), QStringList{u"a"_s});
}

TEST_F(ProjectScan, aRootThatIsALinkIsFollowedAndKeepsItsOwnPath) {
    file(u"real/web/package.json"_s);
    link(u"alias"_s, at(u"real"_s));
    EXPECT_EQ(found(scan({at(u"alias"_s)}, volumes_)), QStringList{u"alias/web"_s});
}

TEST_F(ProjectScan, aTreeOfTenThousandFoldersInEachOtherIsNoDanger) {
    file(u"1/package.json"_s);
    int folder = open(QFile::encodeName(at(u"1"_s)).constData(), O_RDONLY);
    for (int depth = 0; depth < 10'000; ++depth) {
        ASSERT_EQ(mkdirat(folder, "d", 0700), 0);
        const int next = openat(folder, "d", O_RDONLY);
        ASSERT_GE(next, 0);
        close(folder);
        folder = next;
    }
    close(folder);
    EXPECT_EQ(found(), QStringList{u"1"_s});
    // The path is too long for functions that take whole paths.
    EXPECT_EQ(std::system(("rm -rf '" + at(u"1"_s).toStdString() + "'").c_str()), 0);
}

// Roots

TEST_F(ProjectScan, aRootThatDoesNotExistYieldsNothing) {
    file(u"a/web/package.json"_s);
    EXPECT_EQ(found(scan({at(u"missing"_s), at(u"a"_s)}, volumes_)), QStringList{u"a/web"_s});
}

TEST_F(ProjectScan, aRootThatIsAFileOrAPipeYieldsNothing) {
    file(u"Makefile"_s);
    ASSERT_EQ(mkfifo(QFile::encodeName(at(u"pipe"_s)).constData(), 0600), 0);
    EXPECT_TRUE(scan({at(u"Makefile"_s), at(u"pipe"_s)}, volumes_).empty());
}

TEST_F(ProjectScan, aRootWithALeadingTildeIsNotExpanded) {
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(root()));
    file(u"web/package.json"_s);
    EXPECT_TRUE(scan({u"~"_s, u"~/web"_s}, volumes_).empty());
    qputenv("HOME", home);
}

TEST_F(ProjectScan, slashesAtARootsEndAreNoPartOfThePath) {
    file(u"web/package.json"_s);
    EXPECT_EQ(scan({at(u"web//"_s)}, volumes_),
              (std::vector<ProjectEntry>{{u"web"_s, at(u"web"_s), {u"js"_s}}}));
}

TEST_F(ProjectScan, aRelativeRootIsTakenFromTheWorkingFolder) {
    file(u"web/package.json"_s);
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(root()));
    const std::vector<ProjectEntry> projects = scan({u"web"_s}, volumes_);
    const QString expected = QDir::currentPath() + u"/web"_s;
    QDir::setCurrent(before);
    EXPECT_EQ(projects, (std::vector<ProjectEntry>{{u"web"_s, expected, {u"js"_s}}}));
}

TEST_F(ProjectScan, rootsThatNoPathCanSpellYieldNothing) {
    file(u"web/package.json"_s);
    const QString cutByZero = root() + QChar(u'\0') + u"x"_s;
    EXPECT_TRUE(scan({QString(), cutByZero, root() + QChar(0xd800)}, volumes_).empty());
}

TEST_F(ProjectScan, theSamePathIsListedOnceWhicheverRootsLeadToIt) {
    file(u"a/web/package.json"_s);
    EXPECT_EQ(found(scan({root(), at(u"a"_s), root(), at(u"a/web"_s)}, volumes_)),
              QStringList{u"a/web"_s});
}

TEST_F(ProjectScan, oneFolderUnderTwoPathsIsListedTwice) {
    file(u"code/web/package.json"_s);
    link(u"Code"_s, at(u"code"_s));
    EXPECT_EQ(found(scan({at(u"Code"_s), at(u"code"_s)}, volumes_)),
              (QStringList{u"Code/web"_s, u"code/web"_s}));
}

TEST_F(ProjectScan, noRootsYieldNothing) {
    EXPECT_TRUE(scan({}, volumes_).empty());
}

TEST_F(ProjectScan, aRootOnANetworkVolumeYieldsNothing) {
    file(u"far/web/package.json"_s);
    file(u"near/web/package.json"_s);
    volumes_.known[at(u"far"_s)] = {.local = false, .automounted = std::nullopt};
    volumes_.known[at(u"near"_s)] = {.local = true, .automounted = false};
    EXPECT_EQ(found(scan({at(u"far"_s), at(u"near"_s)}, volumes_)), QStringList{u"near/web"_s});
}

TEST_F(ProjectScan, aRootOnAnAutomountedVolumeYieldsNothing) {
    file(u"auto/web/package.json"_s);
    volumes_.known[at(u"auto"_s)] = {.local = true, .automounted = true};
    EXPECT_TRUE(scan({at(u"auto"_s)}, volumes_).empty());
}

TEST_F(ProjectScan, aRootOfWhoseVolumeNothingIsKnownIsWalked) {
    file(u"web/package.json"_s);
    volumes_.known[root()] = {};
    EXPECT_EQ(found(), QStringList{u"web"_s});
}

// Budget

TEST_F(ProjectScan, noFurtherFolderIsOpenedOnceThirtyThousandEntriesAreExceeded) {
    // The root lists one entry, so the budget is used up to the last entry, or exceeded by one.
    files(u"only"_s, 29'999);
    file(u"only/sub/package.json"_s);
    ASSERT_TRUE(QFile::remove(at(u"only/0"_s)));
    EXPECT_EQ(found(), QStringList{u"only/sub"_s}) << "exactly 30000 listed: goes on";
    file(u"only/0"_s);
    EXPECT_EQ(found(), QStringList()) << "30001 listed: stops";
}

TEST_F(ProjectScan, theLastFolderMayOvershootTheBudgetAndProjectsFoundAreKept) {
    files(u"big"_s, 31'000);
    file(u"big/package.json"_s);
    file(u"big/sub/package.json"_s);
    EXPECT_EQ(found(), QStringList{u"big"_s});
}

TEST_F(ProjectScan, eachRootHasABudgetOfItsOwn) {
    files(u"a/big"_s, 30'500);
    file(u"a/big/sub/package.json"_s);
    file(u"b/web/package.json"_s);
    EXPECT_EQ(found(scan({at(u"a"_s), at(u"b"_s)}, volumes_)), QStringList{u"b/web"_s});
}

TEST_F(ProjectScan, hiddenEntriesDoNotUseUpTheBudget) {
    files(u"only"_s, 30'500, ".");
    file(u"only/sub/package.json"_s);
    EXPECT_EQ(found(), QStringList{u"only/sub"_s});
}

TEST_F(ProjectScan, entriesThatAreNotEnteredUseUpTheBudgetToo) {
    files(u"only"_s, 30'000);
    folder(u"only/node_modules"_s);
    file(u"only/sub/package.json"_s);
    EXPECT_EQ(found(), QStringList());
}

// Names

TEST_F(ProjectScan, namesWithLineBreaksAndQuotesSurvive) {
    const QString name = u"a\n\"b\"\\\t'c"_s;
    file(name + u"/package.json"_s);
    EXPECT_EQ(scanned(), (std::vector<ProjectEntry>{{name, at(name), {u"js"_s}}}));
}

TEST_F(ProjectScan, composedAndDecomposedNamesStayAsTheFileSystemHasThem) {
    file(u"caf\u00e9/package.json"_s);
    file(u"cafe\u0301/package.json"_s);
    EXPECT_EQ(found(), (QStringList{u"cafe\u0301"_s, u"caf\u00e9"_s}));
}

TEST_F(ProjectScan, aNameThatIsNoUtf8IsNotListedButItsNeighboursAre) {
    for (const char *name : {"/bad\xff", "/half\xc3", "/surrogate\xed\xa0\x80"}) {
        const std::filesystem::path path = root().toStdString() + name;
        std::filesystem::create_directories(path / "sub");
        ASSERT_GE(creat((path / "package.json").c_str(), 0600), 0);
        ASSERT_GE(creat((path / "sub" / "package.json").c_str(), 0600), 0);
    }
    file(u"good/package.json"_s);
    file(u"\ufffd/package.json"_s);
    EXPECT_EQ(found(), (QStringList{u"good"_s, u"\ufffd"_s}));
    ASSERT_GE(creat((root().toStdString() + "/good/bad\xff.sln").c_str(), 0600), 0);
    EXPECT_EQ(scan({at(u"good"_s)}, volumes_).front().stack, (QStringList{u"js"_s, u"dotnet"_s}))
        << "as a marker it needs no text";
}

TEST_F(ProjectScan, theResultIsSortedByNameWithoutRegardToLetterCase) {
    for (const QString &name : {u"cherry"_s, u"Banana"_s, u"apple"_s, u"x/Date"_s})
        file(name + u"/Makefile"_s);
    QStringList names;
    for (const ProjectEntry &project : scanned())
        names.append(project.name);
    EXPECT_EQ(names, (QStringList{u"apple"_s, u"Banana"_s, u"cherry"_s, u"Date"_s}));
}

// Trouble on the way

TEST_F(ProjectScan, aFolderThatCannotBeReadIsLeftOut) {
    file(u"closed/package.json"_s);
    file(u"open/package.json"_s);
    ASSERT_EQ(chmod(QFile::encodeName(root()).constData(), 0755), 0);
    ASSERT_EQ(chmod(QFile::encodeName(at(u"closed"_s)).constData(), 0), 0);
    // Root can read every folder, so root becomes somebody else for a moment.
    constexpr uid_t nobody = 65534;
    const bool isRoot = geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(seteuid(nobody), 0);
    }
    const QStringList paths = found();
    if (isRoot) {
        ASSERT_EQ(seteuid(0), 0);
    }
    chmod(QFile::encodeName(at(u"closed"_s)).constData(), 0700);
    EXPECT_EQ(paths, QStringList{u"open"_s});
}

TEST_F(ProjectScan, whatAnotherUserOwnsIsListedAsFarAsItMayBeRead) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only an administrator can give folders away";
    constexpr uid_t us = 65534;
    constexpr uid_t other = 65533;
    const std::pair<QString, mode_t> folders[]{
        {u"closed"_s, 0700}, {u"listed"_s, 0744}, {u"shared"_s, 0755}, {u"everybodys"_s, 01777}};
    for (const auto &[name, mode] : folders) {
        file(name + u"/sub/package.json"_s);
        link(name + u"/pipe"_s, u"/dev/full"_s);
        const QByteArray path = QFile::encodeName(at(name));
        ASSERT_EQ(chown(path.constData(), other, other), 0);
        ASSERT_EQ(chmod(path.constData(), mode), 0);
    }
    file(u"ours/package.json"_s);
    ASSERT_EQ(chmod(QFile::encodeName(root()).constData(), 0777), 0);
    ASSERT_EQ(seteuid(us), 0);
    const QStringList paths = found();
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(paths, (QStringList{u"everybodys/sub"_s, u"ours"_s, u"shared/sub"_s}));
}

TEST_F(ProjectScan, namesInAnyDirectionOfWritingStayAsTheyAre) {
    const QStringList names{u"\u05e9\u05dc\u05d5\u05dd"_s, u"\u0645\u0634\u0631\u0648\u0639 2"_s,
                            u"\u202eexe.txt\u202c"_s, u"\u2067a\u2069"_s};
    for (const QString &name : names)
        file(name + u"/package.json"_s);
    QStringList sorted = names;
    sorted.sort();
    EXPECT_EQ(found(), sorted);
}

TEST_F(ProjectScan, foldersThatComeAndGoDuringTheWalkDoNoHarm) {
    file(u"stays/package.json"_s);
    for (int i = 0; i < 200; ++i)
        file(QStringLiteral("g%1/sub/package.json").arg(i));
    const std::string base = root().toStdString();
    // Turns folders into files, links and nothing while they wait to be opened.
    std::jthread vandal([&base](const std::stop_token &stop) {
        for (int i = 0; !stop.stop_requested() && i < 200; ++i) {
            const std::string path = base + "/g" + std::to_string(i);
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
            if (i % 3 == 1)
                close(creat(path.c_str(), 0600));
            else if (i % 3 == 2)
                std::filesystem::create_symlink(base, path, ignored);
        }
    });
    for (int i = 0; i < 50; ++i) {
        const QStringList paths = found();
        ASSERT_TRUE(paths.contains(u"stays"_s));
        for (const QString &path : paths)
            ASSERT_TRUE(path == u"stays"_s || (path.startsWith(u'g') && path.endsWith(u"/sub"_s)))
                << qPrintable(path);
    }
    vandal.request_stop();
}

TEST_F(ProjectScan, aWalkThatIsAskedToStopOpensNoFurtherFolder) {
    file(u"web/package.json"_s);
    std::stop_source source;
    source.request_stop();
    EXPECT_TRUE(scan({root()}, volumes_, source.get_token()).empty());
}

TEST_F(ProjectScan, askedToStopOnItsWayItKeepsToWhatItHas) {
    class StopsAt final : public Volumes {
    public:
        StopsAt(QString path, std::stop_source &source) : path_(std::move(path)), source_(source) {}
        VolumeProperties properties(const QString &path) const override {
            if (path == path_)
                source_.request_stop();
            return {};
        }

    private:
        QString path_;
        std::stop_source &source_;
    };
    file(u"a/Makefile"_s);
    file(u"b/Makefile"_s);
    file(u"c/Makefile"_s);
    std::stop_source source;
    const StopsAt volumes(at(u"b"_s), source);
    EXPECT_EQ(found(scan({at(u"a"_s), at(u"b"_s), at(u"c"_s)}, volumes, source.get_token())),
              QStringList{u"a"_s});
}

TEST_F(ProjectScan, noDescriptorsAreLeftOpen) {
    file(u"1/2/3/4/package.json"_s);
    file(u"5/package.json"_s);
    const auto descriptors = [] { return QDir(u"/proc/self/fd"_s).count(); };
    const auto before = descriptors();
    scanned();
    EXPECT_EQ(descriptors(), before);
}
