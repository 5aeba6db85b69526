#include "Base/FolderNames.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(FolderNames, areSortedByCharactersWithHiddenOnesAndWithoutThoseThatAreNoText) {
    const QTemporaryDir folder;
    const QByteArray path = QFile::encodeName(folder.path());
    for (const char *name : {"b", "B", ".a", "\xc3\xa4", "bad\xff", "half\xc3", "z"})
        close(open((path + '/' + name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(namesInFolder(folder.path()), (QStringList{u".a"_s, u"B"_s, u"b"_s, u"z"_s, u"ä"_s}));
    EXPECT_TRUE(namesInFolder(folder.filePath(u"none"_s)).isEmpty());
    EXPECT_TRUE(namesInFolder(folder.filePath(u"b"_s)).isEmpty());
    std::filesystem::remove_all(folder.path().toStdString()); // QTemporaryDir cannot
}
