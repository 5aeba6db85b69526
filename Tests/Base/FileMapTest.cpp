#include "Base/FileMap.h"

#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

using namespace corvid;

namespace {

constexpr std::size_t size = 100'000;

class FileMapTest : public ::testing::Test {
protected:
    FileMapTest() {
        EXPECT_TRUE(file_.open());
        file_.write(QByteArray(size, 'x'));
        file_.flush();
    }

    QTemporaryFile file_;
};

} // namespace

TEST_F(FileMapTest, whatIsInTheFileIsThereAfterTheFileIsClosed) {
    const auto map = FileMap::of(file_.handle(), size);
    ASSERT_TRUE(map);
    file_.remove();
    EXPECT_EQ(map->size(), size);
    EXPECT_EQ(std::count(map->data(), map->data() + size, 'x'), size);
}

TEST_F(FileMapTest, aPartOfTheFileCanBeMapped) {
    file_.seek(FileMap::alignment);
    file_.write("y");
    file_.flush();
    const auto map = FileMap::of(file_.handle(), 10, FileMap::alignment);
    ASSERT_TRUE(map);
    EXPECT_EQ(QByteArray(reinterpret_cast<const char *>(map->data()), 10), "yxxxxxxxxx");
}

TEST_F(FileMapTest, whatIsCutOffReadsAsZeros) {
    const auto map = FileMap::of(file_.handle(), size);
    const auto other = FileMap::of(file_.handle(), size);
    ASSERT_TRUE(map && other);
    ASSERT_TRUE(file_.resize(4096));
    EXPECT_EQ(std::count(map->data(), map->data() + size, 'x'), 4096);
    EXPECT_EQ(std::count(map->data(), map->data() + size, '\0'), size - 4096);
    EXPECT_EQ(other->data()[size - 1], '\0');
}

TEST_F(FileMapTest, whatIsWrittenStaysOurs) {
    const auto map = FileMap::of(file_.handle(), size);
    ASSERT_TRUE(map);
    map->data()[0] = 'y';
    file_.seek(0);
    EXPECT_EQ(file_.read(1), "x");
}

TEST_F(FileMapTest, nothingToMapIsNull) {
    EXPECT_FALSE(FileMap::of(file_.handle(), 0));
    EXPECT_FALSE(FileMap::of(-1, size));
}

TEST_F(FileMapTest, thereIsRoomAgainForWhatIsLetGo) {
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(FileMap::of(file_.handle(), size)) << i;
}

TEST_F(FileMapTest, theSignalOfSomebodyElseEndsTheProcessAsBefore) {
    const auto map = FileMap::of(file_.handle(), size);
    EXPECT_DEATH(raise(SIGBUS), "");
}
