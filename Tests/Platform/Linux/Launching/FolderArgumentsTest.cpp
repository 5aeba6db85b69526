#include "Platform/Linux/Launching/FolderArguments.h"

#include "Worlds/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** The arguments joined by "|", or "as a file". */
QString given(const QString &id, const QString &folder = u"/a %b"_s,
              const QString &exec = u"app %F"_s, bool inTerminal = false) {
    const auto arguments = folderArguments(id, exec, inTerminal, folder);
    return arguments ? arguments->join(u'|') : u"as a file"_s;
}

} // namespace

TEST(FolderArguments, mostApplicationsTakeAFolderAsAFile) {
    for (const QString &id : {u"code"_s, u"dev.zed.Zed"_s, u"org.kde.kate"_s, u"x.geany"_s})
        EXPECT_EQ(given(id), u"as a file");
}

TEST(FolderArguments, anEditorWithAnOptionForProjectsGetsIt) {
    EXPECT_EQ(given(u"org.gnome.Builder"_s), u"--project=/a %b");
    EXPECT_EQ(given(u"spyder"_s), u"--workdir=/a %b");
}

TEST(FolderArguments, anEditorThatOpensNoFolderGetsNone) {
    for (const QString &id : {u"geany"_s, u"org.gnome.TextEditor"_s, u"mousepad"_s, u"micro"_s})
        EXPECT_EQ(given(id), QString());
}

TEST(FolderArguments, anEditorOfProjectFilesGetsTheFirstInTheFolder) {
    const QTemporaryDir folder;
    for (const QString &name : {u"b.geany"_s, u"a.geany"_s, u"0.txt"_s, u"x.Rproj"_s}) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    EXPECT_EQ(given(u"geany"_s, folder.path()), folder.filePath(u"a.geany"_s));
    EXPECT_EQ(given(u"rstudio"_s, folder.path()), folder.filePath(u"x.Rproj"_s));
    EXPECT_EQ(given(u"codeblocks"_s, folder.path()), QString());
}

TEST(FolderArguments, inATerminalOnlyWhatAsksForFilesGetsTheFolder) {
    EXPECT_EQ(given(u"vim"_s, u"/a"_s, u"vim %F"_s, true), u"as a file");
    EXPECT_EQ(given(u"lazygit"_s, u"/a"_s, u"lazygit"_s, true), QString());
    EXPECT_EQ(given(u"lazygit"_s, u"/a"_s, u"lazygit"_s, false), u"as a file");
}
