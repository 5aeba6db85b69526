#include "Platform/Linux/Launching/FileType.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class FileTypeTest : public ::testing::Test {
protected:
    FileType typeOf(const QString &name, const QByteArray &content, int mode = 0644) const {
        QFile file(folder_.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        file.close();
        EXPECT_EQ(chmod(QFile::encodeName(file.fileName()).constData(), static_cast<mode_t>(mode)),
                  0);
        return fileType(file.fileName());
    }
    /** Whether the system has a database of types. */
    bool knowsTypes() const {
        return typeOf(u"page.pdf"_s, "%PDF").types.contains(u"application/pdf"_s);
    }

    QTemporaryDir folder_;
};

} // namespace

TEST_F(FileTypeTest, aDocumentIsOpenedByWhatHandlesItsType) {
    if (!knowsTypes())
        GTEST_SKIP() << "the system has no database of types";
    EXPECT_EQ(typeOf(u"x.pdf"_s, "%PDF-1.4").types, QStringList{u"application/pdf"_s});
    EXPECT_EQ(typeOf(u"x.svg"_s, "<svg/>").types.first(), u"image/svg+xml");
    EXPECT_EQ(typeOf(u"main.cpp"_s, "int main() {}\n").types.last(), u"text/plain")
        << "what edits text opens any kind of it";
    for (const char *name : {"x.pdf", "x.svg", "main.cpp"})
        EXPECT_FALSE(fileType(folder_.filePath(QString::fromLatin1(name))).runs) << name;
}

TEST_F(FileTypeTest, plainTextIsOpenedAsText) {
    const FileType type = typeOf(u"notes"_s, "words\n");
    EXPECT_EQ(type.types, QStringList{u"text/plain"_s});
    EXPECT_FALSE(type.runs);
}

TEST_F(FileTypeTest, picturesAndDocumentsOnADiskWhereEverythingIsExecutableAreNoPrograms) {
    if (!knowsTypes())
        GTEST_SKIP() << "the system has no database of types";
    EXPECT_FALSE(typeOf(u"x.pdf"_s, "%PDF-1.4", 0755).runs);
    EXPECT_FALSE(typeOf(u"x.svg"_s, "<svg/>", 0755).runs);
    EXPECT_FALSE(typeOf(u"x.png"_s, "\x89PNG\r\n\x1a\n", 0755).runs);
}

TEST_F(FileTypeTest, aScriptIsOpenedAsTextAtMost) {
    for (const auto &[name, content, mode] :
         {std::tuple(u"script"_s, QByteArray("#!/bin/sh\n"), 0644),
          std::tuple(u"script2"_s, QByteArray("echo x\n"), 0755),
          std::tuple(u"x.sh"_s, QByteArray("echo x\n"), 0644),
          std::tuple(u"x.py"_s, QByteArray("print(1)\n"), 0755),
          std::tuple(u"x.desktop"_s, QByteArray("[Desktop Entry]\nExec=x\n"), 0644),
          std::tuple(u"X.DESKTOP"_s, QByteArray("[Desktop Entry]\nExec=x\n"), 0644)}) {
        const FileType type = typeOf(name, content, mode);
        EXPECT_TRUE(type.runs) << qPrintable(name);
        EXPECT_EQ(type.types, QStringList{u"text/plain"_s}) << qPrintable(name);
    }
}

TEST_F(FileTypeTest, aProgramIsOpenedByNothing) {
    for (const auto &[name, content, mode] :
         {std::tuple(u"tool"_s, QByteArray("\177ELF\2\1\1\0", 8), 0755),
          std::tuple(u"tool2"_s, QByteArray("\177ELF\2\1\1\0", 8), 0644),
          std::tuple(u"picture.png"_s, QByteArray("\177ELF\2\1\1\0", 8), 0755),
          std::tuple(u"x.exe"_s, QByteArray("MZ\0\1", 4), 0644),
          std::tuple(u"x.jar"_s, QByteArray("PK\3\4\0", 5), 0644),
          std::tuple(u"blob"_s, QByteArray("\0\1\2\3", 4), 0755)}) {
        const FileType type = typeOf(name, content, mode);
        EXPECT_TRUE(type.runs) << qPrintable(name);
        EXPECT_EQ(type.types, QStringList()) << qPrintable(name);
    }
}

TEST_F(FileTypeTest, aPipeIsNotReadFrom) {
    const QString pipe = folder_.filePath(u"pipe"_s);
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    fileType(pipe);
}
