#include "Platform/Linux/Launching/AppImages.h"

#include "Worlds/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <utility>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class AppImagesTest : public ::testing::Test {
protected:
    QString path(const QString &name) const { return folder_.filePath(name); }

    QString put(const QString &name, bool executable = true) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        if (executable)
            file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path(name);
    }
    QStringList listed(const QSet<QString> &launched = {}) const {
        QStringList paths;
        for (const DesktopEntry &entry : appImages({path(u"first"_s), path(u"second"_s)}, launched))
            paths.append(entry.path.mid(folder_.path().size() + 1));
        return paths;
    }

    QTemporaryDir folder_;
};

} // namespace

TEST_F(AppImagesTest, theNameIsTheFilesUpToItsVersionOrArchitecture) {
    const std::pair<QString, QString> rows[]{
        {u"Obsidian-1.5.3-x86_64.AppImage"_s, u"Obsidian"_s},
        {u"/a/b-1.0/Obsidian.AppImage"_s, u"Obsidian"_s},
        {u"nvim.appimage"_s, u"nvim"_s},
        {u"nvim-linux-x86_64.appimage"_s, u"nvim"_s},
        {u"app_1.2.3_amd64.AppImage"_s, u"app"_s},
        {u"FreeCAD_0.21.2-Linux-x86_64.AppImage"_s, u"FreeCAD"_s},
        {u"PrusaSlicer-2.7.1+linux-x64-GTK3-202312121425.AppImage"_s, u"PrusaSlicer"_s},
        {u"subsurface-v5.0-x86_64.AppImage"_s, u"subsurface"_s},
        {u"tool-v5.AppImage"_s, u"tool"_s},
        {u"wezterm-20240203-110809-5046fc22-Ubuntu20.04.AppImage"_s, u"wezterm"_s},
        {u"Inkscape-091e20e-x86_64.AppImage"_s, u"Inkscape"_s},
        {u"UltiMaker-Cura-5.6.0-linux-X64.AppImage"_s, u"UltiMaker-Cura"_s},
        {u"draw.io-x86_64-24.0.4.AppImage"_s, u"draw.io"_s},
        {u"Foo.1.2.AppImage"_s, u"Foo"_s},
        {u"Foo-2.0beta1 (1).AppImage"_s, u"Foo"_s},
        {u"Some App-3.1.AppImage"_s, u"Some App"_s},
        {u"Half-Life-2.AppImage"_s, u"Half-Life-2"_s},
        {u"7zip-arm64.AppImage"_s, u"7zip"_s},
        {u"1.5.AppImage"_s, u"1.5"_s},
    };
    for (const auto &[file, name] : rows)
        EXPECT_EQ(appImageName(file), name) << qPrintable(file);
}

TEST_F(AppImagesTest, anEntryHasTheNameTheFileAndAnIdThatOutlivesItsVersion) {
    const QString file = put(u"first/Obsidian-1.5.3-x86_64.AppImage"_s);
    EXPECT_EQ(
        appImages({path(u"first"_s)}, {}),
        std::vector<DesktopEntry>(
            {{u"appimage.Obsidian"_s, file, u"Obsidian"_s, u"Obsidian"_s, {}, u"Obsidian"_s, {}}}));
}

TEST_F(AppImagesTest, onlyRegularFilesThatMayBeExecutedAreListed) {
    put(u"first/A.AppImage"_s);
    put(u"first/b.APPIMAGE"_s);
    put(u"first/Plain.AppImage"_s, false);
    put(u"first/Other.txt"_s);
    put(u"first/Folder.AppImage/file"_s);
    put(u"first/deep/Deeper.AppImage"_s);
    put(u"first/.AppImage"_s);
    ASSERT_TRUE(QFile::link(path(u"first/A.AppImage"_s), path(u"first/Link.AppImage"_s)));
    EXPECT_EQ(listed(), (QStringList{u"first/A.AppImage"_s, u"first/b.APPIMAGE"_s}));
}

TEST_F(AppImagesTest, ofSeveralVersionsTheNewestIsListed) {
    put(u"first/App-1.9.AppImage"_s);
    put(u"second/App-1.10.AppImage"_s);
    put(u"first/App-1.2.AppImage"_s);
    put(u"second/App.AppImage"_s);
    put(u"first/Same.AppImage"_s);
    put(u"second/Same.AppImage"_s);
    EXPECT_EQ(listed(), (QStringList{u"second/App-1.10.AppImage"_s, u"first/Same.AppImage"_s}));
}

TEST_F(AppImagesTest, whatAnEntryRunsIsNotListedBesideIt) {
    const QString installed = put(u"first/Installed-1.0.AppImage"_s);
    put(u"first/Installed-0.9.AppImage"_s);
    put(u"first/Bare.AppImage"_s);
    put(u"first/Linked.AppImage"_s);
    ASSERT_TRUE(QFile::link(path(u"first/Linked.AppImage"_s), path(u"link"_s)));
    EXPECT_EQ(listed({path(u"first/../first/Installed-1.0.AppImage"_s), u"Bare.AppImage"_s,
                      path(u"link"_s), u"/gone/Other.AppImage"_s}),
              QStringList{u"first/Installed-0.9.AppImage"_s})
        << "an older one that is kept beside it has no entry";
    EXPECT_EQ(listed({installed}).size(), 3);
}
