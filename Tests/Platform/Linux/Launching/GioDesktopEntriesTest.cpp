#include "Platform/Linux/Launching/GioDesktopEntries.h"

#include "Worlds/PrivateMounts.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

// GIO asks for the desktop's name once in a process.
[[maybe_unused]] const bool desktopNamed = qputenv("XDG_CURRENT_DESKTOP", "Testbed");

class GioDesktopEntriesTest : public testing::Test {
protected:
    GioDesktopEntriesTest() {
        set("XDG_DATA_HOME", disk_.filePath(u"user"_s));
        set("XDG_DATA_DIRS", disk_.filePath(u"first"_s) + u':' + disk_.filePath(u"second"_s));
        set("LANGUAGE", u"de"_s);
        set("LC_ALL", u"de_DE.UTF-8"_s);
    }
    ~GioDesktopEntriesTest() override {
        for (const auto &[variable, value] : old_) {
            if (value.isNull())
                qunsetenv(variable);
            else
                qputenv(variable, value);
        }
    }

    void set(const char *variable, const QString &value) {
        old_.try_emplace(variable, qgetenv(variable));
        qputenv(variable, value.toLocal8Bit());
    }

    /** The ids of the test's own entries. */
    QStringList ids() const {
        QStringList ids;
        for (const auto &[id, entry] : listed()) {
            if (entry.path.startsWith(disk_.path()))
                ids.append(id);
        }
        return ids;
    }

    QString path(const QString &file) const { return disk_.filePath(file); }

    void write(const QString &file, const QByteArray &bytes) const {
        QDir().mkpath(QFileInfo(path(file)).path());
        QFile out(path(file));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        ASSERT_EQ(out.write(bytes), bytes.size());
    }

    void install(const QString &file, const QByteArray &name, const QByteArray &more = {}) const {
        write(file, "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=true\n" + more);
    }

    // Entries by id. The machine's own, from Flatpak and Snap, may be among them.
    static std::map<QString, DesktopEntry> listed() {
        std::map<QString, DesktopEntry> byId;
        QSet<QString> paths;
        for (const DesktopEntry &entry : GioDesktopEntries().list()) {
            EXPECT_TRUE(byId.emplace(entry.id, entry).second) << qPrintable(entry.id);
            EXPECT_FALSE(paths.contains(entry.path)) << qPrintable(entry.path);
            paths.insert(entry.path);
        }
        return byId;
    }

    QTemporaryDir disk_;
    std::map<const char *, QByteArray> old_;
};

} // namespace

TEST_F(GioDesktopEntriesTest, anEntryIsReadAsTheDesktopResolvesIt) {
    write(u"first/applications/org.example.Editor.desktop"_s,
          "[Desktop Entry]\nType=Application\nName=Writer\nName[de]=Schreiber\n"
          "GenericName=Text Editor\nGenericName[de]=Texteditor\nExec=env A=\"b c\" true %F\n"
          "Categories=Utility;TextEditor;\nKeywords=word;\nKeywords[de]=Wort;Brief;\n"
          "StartupWMClass=Writer-Bin\n");
    EXPECT_EQ(listed().at(u"org.example.Editor"_s),
              (DesktopEntry{u"org.example.Editor"_s,
                            path(u"first/applications/org.example.Editor.desktop"_s),
                            u"Schreiber"_s,
                            u"Writer"_s,
                            u"Texteditor"_s,
                            u"true"_s,
                            {u"Utility"_s, u"TextEditor"_s},
                            u"Writer-Bin"_s,
                            {u"Wort"_s, u"Brief"_s},
                            u"Text Editor"_s,
                            {u"word"_s}}));
}

TEST_F(GioDesktopEntriesTest, theActionsThatAnEntryListsAreReadInItsOrder) {
    install(u"first/applications/a.desktop"_s, "A",
            "Actions=two;one;two;no-name;no-exec;no-group;\n"
            "[Desktop Action one]\nName=One\nName[de]=Eins\nExec=true 1\n"
            "[Desktop Action two]\nName=Two\nExec=true 2\n"
            "[Desktop Action no-name]\nExec=true\n[Desktop Action no-exec]\nName=No\n"
            "[Desktop Action unlisted]\nName=Un\nExec=true\n");
    EXPECT_EQ(listed().at(u"a"_s).actions,
              (QList<DesktopAction>{{u"two"_s, u"Two"_s}, {u"one"_s, u"Eins"_s}}));
}

TEST_F(GioDesktopEntriesTest, anActionOverTheBusNeedsNoExecLine) {
    install(u"first/applications/a.desktop"_s, "A",
            "DBusActivatable=true\nActions=one;\n[Desktop Action one]\nName=One\n");
    EXPECT_EQ(listed().at(u"a"_s).actions, (QList<DesktopAction>{{u"one"_s, u"One"_s}}));
}

TEST_F(GioDesktopEntriesTest, actionsAreBoundedInNumberAndLength) {
    QByteArray list("Actions=" + QByteArray(2000, 'x') + ';');
    QByteArray groups("[Desktop Action " + QByteArray(2000, 'x') + "]\nName=X\nExec=true\n");
    for (int i = 0; i < 20; ++i) {
        list += 'a' + QByteArray::number(i) + ';';
        groups += "[Desktop Action a" + QByteArray::number(i) + "]\nName=" + QByteArray(1000, 'y') +
                  "\nExec=true\n";
    }
    install(u"first/applications/a.desktop"_s, "A", list + '\n' + groups);
    const QList<DesktopAction> actions = listed().at(u"a"_s).actions;
    ASSERT_EQ(actions.size(), 16);
    EXPECT_EQ(actions.first(), (DesktopAction{u"a0"_s, QString(256, u'y')}));
}

TEST_F(GioDesktopEntriesTest, whatAnEntryLacksIsEmpty) {
    install(u"first/applications/plain.desktop"_s, "Plain");
    const DesktopEntry entry = listed().at(u"plain"_s);
    EXPECT_EQ(entry.genericName, QString());
    EXPECT_EQ(entry.categories, QStringList());
    EXPECT_EQ(entry.startupWMClass, QString());
    EXPECT_EQ(entry.keywords, QStringList());
    EXPECT_EQ(entry.name, u"Plain");
}

TEST_F(GioDesktopEntriesTest, aHundredKeywordsAreRead) {
    write(u"first/applications/many.desktop"_s,
          "[Desktop Entry]\nType=Application\nName=Many\nExec=true\nKeywords=" +
              QByteArray("word;").repeated(100'000) + '\n');
    EXPECT_EQ(listed().at(u"many"_s).keywords.size(), 100);
    EXPECT_EQ(listed().at(u"many"_s).unlocalizedKeywords.size(), 100);
}

TEST_F(GioDesktopEntriesTest, anEntryThatIsActivatedByTheBusNeedsNoExec) {
    write(u"first/applications/org.example.Bus.desktop"_s,
          "[Desktop Entry]\nType=Application\nName=Bus\nDBusActivatable=true\n");
    EXPECT_EQ(listed().at(u"org.example.Bus"_s).program, QString());
}

TEST_F(GioDesktopEntriesTest, anEarlierFolderWins) {
    install(u"user/applications/a.desktop"_s, "User");
    install(u"first/applications/a.desktop"_s, "First");
    install(u"first/applications/b.desktop"_s, "First");
    install(u"second/applications/b.desktop"_s, "Second");
    install(u"second/applications/c.desktop"_s, "Second");
    const auto entries = listed();
    EXPECT_EQ(entries.at(u"a"_s).name, u"User");
    EXPECT_EQ(entries.at(u"b"_s).name, u"First");
    EXPECT_EQ(entries.at(u"c"_s).name, u"Second");
}

TEST_F(GioDesktopEntriesTest, aHiddenEntryOfTheUserMasksTheSystemsOne) {
    for (const char *hiding : {"Hidden=true\n", "NoDisplay=true\n"}) {
        install(u"user/applications/a.desktop"_s, "User", hiding);
        install(u"first/applications/a.desktop"_s, "First");
        EXPECT_FALSE(listed().contains(u"a"_s)) << hiding;
    }
    write(u"user/applications/a.desktop"_s, "damaged");
    EXPECT_FALSE(listed().contains(u"a"_s)) << "damaged";
}

TEST_F(GioDesktopEntriesTest, onlyEntriesThatTheDesktopShowsAreListed) {
    const std::pair<const char *, bool> rows[] = {
        {"", true},
        {"NoDisplay=true\n", false},
        {"NoDisplay=false\n", true},
        {"Hidden=true\n", false},
        {"OnlyShowIn=Testbed;\n", true},
        {"OnlyShowIn=Other;\n", false},
        {"NotShowIn=Testbed;\n", false},
        {"NotShowIn=Other;\n", true},
        {"TryExec=true\n", true},
        {"TryExec=no-such-program-anywhere\n", false},
        {"TryExec=/no/such/program\n", false},
    };
    for (const auto &[more, shown] : rows) {
        install(u"first/applications/a.desktop"_s, "A", more);
        EXPECT_EQ(listed().contains(u"a"_s), shown) << more;
    }
}

TEST_F(GioDesktopEntriesTest, panelsOfTheDesktopsOwnSettingsAreListedAlthoughTheMenuHasThemNot) {
    const QByteArray gnome = "NoDisplay=true\nCategories=GNOME;Settings;X-GNOME-Settings-Panel;";
    const QByteArray kde = "NoDisplay=true\nX-KDE-AliasFor=systemsettings\n";
    const std::tuple<const char *, QByteArray, bool> rows[] = {
        {"Testbed", gnome + "\nOnlyShowIn=Testbed;\n", true},
        {"Testbed", gnome + "\nOnlyShowIn=GNOME;\n", false},
        {"Testbed", gnome + "X-GNOME-PrivacySettings;\n", false},
        {"Testbed", gnome + "\nHidden=true\n", false},
        {"Testbed", gnome + "\nTryExec=no-such-program-anywhere\n", false},
        {"Testbed", kde, false},
        {"KDE", kde, true},
        {"KDE", "NoDisplay=true\nCategories=Settings;\n", false},
    };
    for (const auto &[desktop, more, shown] : rows) {
        set("XDG_CURRENT_DESKTOP", QString::fromLatin1(desktop));
        install(u"first/applications/a.desktop"_s, "A", more);
        EXPECT_EQ(listed().contains(u"a"_s), shown) << desktop << more.constData();
    }
    set("XDG_CURRENT_DESKTOP", u"KDE"_s);
    install(u"first/applications/a.desktop"_s, "A", kde);
    EXPECT_EQ(listed().at(u"a"_s).categories, QStringList{u"Settings"_s});
}

TEST_F(GioDesktopEntriesTest, brokenEntriesAreLeftOut) {
    const std::pair<const char *, QByteArray> rows[] = {
        {"empty", ""},
        {"no group", "Name=A\nExec=true\n"},
        {"no name", "[Desktop Entry]\nType=Application\nExec=true\n"},
        {"a link", "[Desktop Entry]\nType=Link\nName=A\nURL=http://127.0.0.1/\n"},
        {"a missing program", "[Desktop Entry]\nType=Application\nName=A\nExec=/no/such/program\n"},
        {"open quotation", "[Desktop Entry]\nType=Application\nName=A\nExec=\"true\n"},
        {"zeros", QByteArray(1000, '\0')},
        {"name that is not UTF-8", "[Desktop Entry]\nType=Application\nName=\xff\xfe\nExec=true\n"},
    };
    for (const auto &[what, bytes] : rows) {
        write(u"first/applications/a.desktop"_s, bytes);
        EXPECT_FALSE(listed().contains(u"a"_s)) << what;
    }
}

TEST_F(GioDesktopEntriesTest, anEntryBeyondOneMebibyteIsLeftOut) {
    const QByteArray head = "[Desktop Entry]\nType=Application\nName=A\nExec=true\n#";
    constexpr qsizetype limit = 1024 * 1024;
    write(u"first/applications/a.desktop"_s, head + QByteArray(limit - head.size(), 'x'));
    EXPECT_TRUE(listed().contains(u"a"_s));
    write(u"first/applications/a.desktop"_s, head + QByteArray(limit - head.size() + 1, 'x'));
    EXPECT_FALSE(listed().contains(u"a"_s));
}

TEST_F(GioDesktopEntriesTest, whatIsNoFileIsLeftOut) {
    QDir().mkpath(path(u"first/applications/folder.desktop"_s));
    const QByteArray pipe = QFile::encodeName(path(u"first/applications/pipe.desktop"_s));
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    QFile::link(path(u"nowhere"_s), path(u"first/applications/dangling.desktop"_s));
    const auto entries = listed();
    for (const QString &id : {u"folder"_s, u"pipe"_s, u"dangling"_s})
        EXPECT_FALSE(entries.contains(id)) << qPrintable(id);
}

TEST_F(GioDesktopEntriesTest, otherFilesAreIgnored) {
    install(u"first/applications/a.desktop.bak"_s, "A");
    install(u"first/applications/mimeinfo.cache"_s, "A");
    install(u"first/applications/b.DESKTOP"_s, "A");
    for (const auto &[id, entry] : listed())
        EXPECT_FALSE(entry.path.startsWith(disk_.path())) << qPrintable(entry.path);
}

TEST_F(GioDesktopEntriesTest, aSubfoldersNameIsPartOfTheId) {
    install(u"first/applications/foo/bar.desktop"_s, "A");
    install(u"first/applications/foo/deep/baz.desktop"_s, "B");
    const auto entries = listed();
    EXPECT_EQ(entries.at(u"foo-bar"_s).path, path(u"first/applications/foo/bar.desktop"_s));
    EXPECT_TRUE(entries.contains(u"foo-deep-baz"_s));
}

TEST_F(GioDesktopEntriesTest, anIdInASubfolderMasksAndIsMaskedLikeAnyOther) {
    install(u"user/applications/foo-bar.desktop"_s, "Plain");
    install(u"first/applications/foo/bar.desktop"_s, "Subfolder");
    install(u"first/applications/one-two.desktop"_s, "Plain");
    install(u"first/applications/one/two.desktop"_s, "Subfolder");
    const auto entries = listed();
    EXPECT_EQ(entries.at(u"foo-bar"_s).name, u"Plain");
    EXPECT_EQ(entries.at(u"one-two"_s).name, u"Plain");
}

TEST_F(GioDesktopEntriesTest, linksBetweenFoldersAreFollowedOnce) {
    install(u"elsewhere/b.desktop"_s, "B");
    install(u"first/applications/a.desktop"_s, "A");
    QFile::link(path(u"elsewhere"_s), path(u"first/applications/linked"_s));
    QFile::link(path(u"first/applications"_s), path(u"first/applications/self"_s));
    const auto entries = listed();
    EXPECT_TRUE(entries.contains(u"a"_s));
    EXPECT_TRUE(entries.contains(u"linked-b"_s));
    EXPECT_FALSE(entries.contains(u"self-a"_s));
}

TEST_F(GioDesktopEntriesTest, dataFoldersThatLieInEachOtherListNoFileTwice) {
    set("XDG_DATA_DIRS", path(u"first"_s) + u':' + path(u"first/applications/sub"_s));
    install(u"first/applications/a.desktop"_s, "A");
    install(u"first/applications/sub/applications/b.desktop"_s, "B");
    EXPECT_EQ(ids(), (QStringList{u"a"_s, u"b"_s})) << "and by the id that is its own";
}

TEST_F(GioDesktopEntriesTest, aFileIsListedOnceWhateverNamesLeadToIt) {
    set("XDG_DATA_HOME", path(u"user/..//user/./"_s));
    set("XDG_DATA_DIRS", path(u"user"_s) + u':' + path(u"first"_s) + u':' + path(u"second"_s));
    install(u"user/applications/users.desktop"_s, "Users");
    install(u"first/applications/own.desktop"_s, "Own");
    install(u"first/applications/composed-\u00e9.desktop"_s, "Composed");
    install(u"first/applications/composed-e\u0301.desktop"_s, "Decomposed");
    QFile::link(path(u"first/applications/own.desktop"_s),
                path(u"user/applications/linked.desktop"_s));
    QDir().mkpath(path(u"second"_s));
    QFile::link(path(u"first/applications"_s), path(u"second/applications"_s));
    QFile::link(path(u"first/applications"_s), path(u"user/applications/sub"_s));
    ASSERT_EQ(link(QFile::encodeName(path(u"first/applications/own.desktop"_s)).constData(),
                   QFile::encodeName(path(u"first/applications/second.desktop"_s)).constData()),
              0);
    EXPECT_EQ(ids(),
              (QStringList{u"composed-e\u0301"_s, u"composed-\u00e9"_s, u"own"_s, u"users"_s}));
    EXPECT_EQ(listed().at(u"own"_s).path, path(u"first/applications/own.desktop"_s));
}

TEST_F(GioDesktopEntriesTest, aFolderThatIsMountedAtASecondPlaceListsNoFileTwice) {
    install(u"first/applications/a.desktop"_s, "A");
    QDir().mkpath(path(u"first/applications/sub"_s));
    QDir().mkpath(path(u"second"_s));
    if (!test::enterPrivateMounts())
        GTEST_SKIP() << "mounting is not permitted here";
    const test::SeenAlsoAt inItself(path(u"first/applications"_s),
                                    path(u"first/applications/sub"_s));
    const test::SeenAlsoAt beside(path(u"first"_s), path(u"second"_s));
    ASSERT_TRUE(inItself.mounted() && beside.mounted());
    EXPECT_EQ(ids(), QStringList{u"a"_s});
}

TEST_F(GioDesktopEntriesTest, entriesOfOneContentInFilesOfTheirOwnAreAllListed) {
    install(u"first/applications/a.desktop"_s, "Same");
    install(u"first/applications/b.desktop"_s, "Same");
    EXPECT_EQ(ids(), (QStringList{u"a"_s, u"b"_s}));
}

TEST_F(GioDesktopEntriesTest, namesOfAMegabyteAreCut) {
    const QByteArray endless(500'000, 'x');
    write(u"first/applications/a.desktop"_s,
          "[Desktop Entry]\nType=Application\nName=" + endless.left(200'000) +
              "\nName[de]=" + endless.left(200'000) + "\nGenericName=" + endless + "\nExec=true\n");
    const DesktopEntry entry = listed().at(u"a"_s);
    const QString cut(256, u'x');
    EXPECT_EQ(entry.name, cut);
    EXPECT_EQ(entry.unlocalizedName, cut);
    EXPECT_EQ(entry.genericName, cut);
}

TEST_F(GioDesktopEntriesTest, namesInAnyDirectionOfWritingStayAsTheyAre) {
    const QString name = u"\u200f\u05e9\u05dc\u05d5\u05dd \u202eexe.txt\u202c"_s;
    const QString id = u"\u05e2\u05d5\u05e8\u05da"_s;
    install(u"first/applications/%1.desktop"_s.arg(id), name.toUtf8());
    EXPECT_EQ(listed().at(id).name, name);
}

TEST_F(GioDesktopEntriesTest, aNameThatIsNoTextHoldsUpNoOther) {
    install(u"first/applications/good.desktop"_s, "Good");
    write(u"first/applications/half.desktop"_s, "[Desktop Entry]\nType=Application\nName=Half\n"
                                                "Name[de]=H\xe4lfte\nExec=true\n");
    write(u"first/applications/zero.desktop"_s,
          QByteArray("[Desktop Entry]\nType=Application\nName=Ze\0ro\nExec=true\n", 54));
    for (const char *name :
         {"bad\xff.desktop", "half\xc3.desktop", "surrogate\xed\xa0\x80.desktop"}) {
        const QByteArray file = QFile::encodeName(path(u"first/applications/"_s)) + name;
        const int descriptor = open(file.constData(), O_WRONLY | O_CREAT, 0600);
        const QByteArray bytes = "[Desktop Entry]\nType=Application\nName=Bad\nExec=true\n";
        ASSERT_EQ(::write(descriptor, bytes.constData(), static_cast<std::size_t>(bytes.size())),
                  bytes.size());
        close(descriptor);
    }
    const auto entries = listed();
    EXPECT_EQ(entries.at(u"good"_s).name, u"Good");
    EXPECT_EQ(entries.at(u"half"_s).name, u"Half") << "not a name that nobody gave it";
    for (const auto &[id, entry] : entries) {
        EXPECT_FALSE(entry.name.contains(QChar(0))) << qPrintable(id);
        EXPECT_NE(entry.name, u"Bad") << "it could not be opened: " << qPrintable(id);
    }
    std::filesystem::remove_all(path(u"first"_s).toStdString()); // QTemporaryDir cannot
}

TEST_F(GioDesktopEntriesTest, foldersAreReadAfreshEachTime) {
    EXPECT_FALSE(listed().contains(u"a"_s));
    install(u"first/applications/a.desktop"_s, "A");
    EXPECT_TRUE(listed().contains(u"a"_s));
    install(u"third/applications/b.desktop"_s, "B");
    set("XDG_DATA_DIRS", path(u"third"_s));
    const auto entries = listed();
    EXPECT_FALSE(entries.contains(u"a"_s));
    EXPECT_TRUE(entries.contains(u"b"_s));
}

TEST_F(GioDesktopEntriesTest, flatpaksExportsOfTheUserAreListedThoughTheEnvironmentLacksThem) {
    install(u"user/flatpak/exports/share/applications/org.example.Flat.desktop"_s, "Flat");
    EXPECT_TRUE(listed().contains(u"org.example.Flat"_s));
}

TEST_F(GioDesktopEntriesTest, theFoldersAreTheUsersFlatpaksTheSystemsAndSnaps) {
    set("XDG_DATA_HOME", u"/home/x/share"_s);
    set("XDG_DATA_DIRS", u"/a:/b/"_s);
    EXPECT_EQ(GioDesktopEntries::folders(),
              (QStringList{u"/home/x/share/applications"_s,
                           u"/home/x/share/flatpak/exports/share/applications"_s,
                           u"/var/lib/flatpak/exports/share/applications"_s, u"/a/applications"_s,
                           u"/b/applications"_s, u"/var/lib/snapd/desktop/applications"_s}));
}

TEST_F(GioDesktopEntriesTest, foldersThatTheEnvironmentNamesKeepItsOrder) {
    set("XDG_DATA_HOME", u"/u"_s);
    set("XDG_DATA_DIRS",
        u"/var/lib/snapd/desktop:/a:/var/lib/flatpak/exports/share/:/u/flatpak/exports/share:/a"_s);
    EXPECT_EQ(GioDesktopEntries::folders(),
              (QStringList{u"/u/applications"_s, u"/var/lib/snapd/desktop/applications"_s,
                           u"/a/applications"_s, u"/var/lib/flatpak/exports/share/applications"_s,
                           u"/u/flatpak/exports/share/applications"_s}));
}

TEST_F(GioDesktopEntriesTest, withoutUsableDataFoldersTheDefaultOnesCount) {
    for (const QString &value : {u""_s, u"relative:./other"_s, u"::"_s}) {
        set("XDG_DATA_DIRS", value);
        const QStringList folders = GioDesktopEntries::folders();
        EXPECT_EQ(folders.indexOf(u"/usr/local/share/applications"_s), 3) << qPrintable(value);
        EXPECT_EQ(folders.indexOf(u"/usr/share/applications"_s), 4) << qPrintable(value);
    }
}

TEST_F(GioDesktopEntriesTest, aThousandEntriesAreListedWithoutRepeats) {
    for (int i = 0; i < 1000; ++i)
        install(u"first/applications/app%1.desktop"_s.arg(i), "App " + QByteArray::number(i),
                "Categories=Utility;\nComment=One of many\nIcon=app\nTryExec=true\n");
    QElapsedTimer timer;
    timer.start();
    const auto entries = listed();
    RecordProperty("milliseconds", static_cast<int>(timer.elapsed()));
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(),
                            [](const auto &entry) { return entry.first.startsWith("app"_L1); }),
              1000);
}

TEST_F(GioDesktopEntriesTest, anAppImageIsListedUnlessAnEntryRunsIt) {
    set("HOME", path(u"home"_s));
    for (const QString &name :
         {u"home/Applications/One-1.0.AppImage"_s, u"home/Downloads/Two-x86_64.appimage"_s,
          u"home/AppImages/With Entry%.AppImage"_s}) {
        write(name, "not executed");
        QFile::setPermissions(path(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    write(u"user/applications/three.desktop"_s,
          "[Desktop Entry]\nType=Application\nName=Three\nExec=env A=b \"" +
              path(u"home/AppImages/With Entry%%.AppImage"_s).toUtf8() + "\" --flag %U\n");
    QStringList names;
    for (const QString &id : ids())
        names.append(listed().at(id).name);
    names.sort();
    EXPECT_EQ(names, (QStringList{u"One"_s, u"Three"_s, u"Two"_s}));
}

TEST_F(GioDesktopEntriesTest, whatChangesAfterAListingIsReported) {
    set("HOME", path(u"home"_s));
    ASSERT_TRUE(QDir().mkpath(path(u"home/Applications"_s)));
    GioDesktopEntries entries;
    entries.watch();
    int changes = 0;
    entries.onChange = [&changes] { ++changes; };
    const auto isReported = [&] {
        const bool reported = waitUntil([&] { return std::exchange(changes, 0) > 0; });
        entries.list();
        return reported;
    };
    entries.list();
    install(u"user/applications/new.desktop"_s, "New");
    EXPECT_TRUE(isReported()) << "in a folder that was not there";
    install(u"user/applications/sub/deep.desktop"_s, "Deep");
    EXPECT_TRUE(isReported());
    ASSERT_TRUE(QFile::remove(path(u"user/applications/sub/deep.desktop"_s)));
    EXPECT_TRUE(isReported());
    write(u"home/Applications/App.AppImage"_s, "x");
    EXPECT_TRUE(isReported());
}
