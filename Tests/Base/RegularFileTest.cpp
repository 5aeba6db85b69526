#include "Base/RegularFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class RegularFile : public ::testing::Test {
protected:
    QString path(const QString &name) const { return folder_.filePath(name); }
    QString fileWith(const QByteArray &content) const {
        QFile file(path(u"file"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return file.fileName();
    }

private:
    QTemporaryDir folder_;
};

const QByteArray text("a\0b", 3);

} // namespace

TEST_F(RegularFile, isReadAsAWhole) {
    EXPECT_EQ(readRegularFile(fileWith(text), 100), text);
    EXPECT_EQ(readRegularFile(fileWith({}), 100), QByteArray());
}

TEST_F(RegularFile, mayBeAsLargeAsAllowedAndNoLarger) {
    EXPECT_EQ(readRegularFile(fileWith(text), text.size()), text);
    EXPECT_EQ(readRegularFile(fileWith(text), text.size() - 1), std::nullopt);
}

TEST_F(RegularFile, isReadThroughALink) {
    ASSERT_TRUE(QFile::link(fileWith(text), path(u"link"_s)));
    EXPECT_EQ(readRegularFile(path(u"link"_s), 100), text);
}

TEST_F(RegularFile, isAbsentWhereThereIsNone) {
    ASSERT_TRUE(QFile::link(path(u"nowhere"_s), path(u"dangling"_s)));
    ASSERT_TRUE(QFile::link(path(u"circle"_s), path(u"circle"_s)));
    for (const QString &name : {u"missing"_s, u"dangling"_s, u"circle"_s, u"."_s})
        EXPECT_EQ(readRegularFile(path(name), 100), std::nullopt) << qPrintable(name);
}

TEST_F(RegularFile, isNoPipeAndNoDeviceAndTheyKeepNobodyWaiting) {
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    EXPECT_EQ(readRegularFile(path(u"pipe"_s), 100), std::nullopt);
    EXPECT_EQ(readRegularFile(u"/dev/zero"_s, 100), std::nullopt);
}
