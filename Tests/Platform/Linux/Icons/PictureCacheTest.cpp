#include "Platform/Linux/Icons/PictureCache.h"

#include "Worlds/EventLoop.h"
#include "Worlds/IconFiles.h"
#include "Worlds/QtPrinters.h"

#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr FileState state{1'700'000'000'123'456'789, 1000};

QImage square(QColor color, int edge = 32) {
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

class PictureCacheTest : public IconFiles {
protected:
    QString stored() const { return path(u"cache/Corvid/icons"_s); }

    PictureCache cache(int edge = 32) const { return {stored(), edge, edge / 32.0}; }

    QByteArray storedBytes() const {
        QFile file(stored());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /** Where the pixels are: the name of a mapped file, or something else. */
    static QString placeOf(const Image &image) {
        QFile maps(u"/proc/self/maps"_s);
        EXPECT_TRUE(maps.open(QIODevice::ReadOnly));
        const auto address = reinterpret_cast<quintptr>(image->constBits());
        for (const QByteArray &line : maps.readAll().split('\n')) {
            const QList<QByteArray> range = line.left(line.indexOf(' ')).split('-');
            if (range.size() == 2 && range[0].toULongLong(nullptr, 16) <= address &&
                address < range[1].toULongLong(nullptr, 16))
                return QString::fromUtf8(line.mid(line.lastIndexOf(' ') + 1));
        }
        return {};
    }
};

} // namespace

TEST_F(PictureCacheTest, whatWasDrawnIsThereInTheNextRun) {
    {
        PictureCache first = cache();
        EXPECT_FALSE(first.find(u"/red"_s, state));
        EXPECT_EQ(middle(first.add(u"/red"_s, state, square(red))), red);
        EXPECT_FALSE(first.add(u"/broken"_s, state, {}));
        first.store();
        EXPECT_EQ(middle(*first.find(u"/red"_s, state)), red);
    }
    PictureCache second = cache();
    ASSERT_TRUE(second.find(u"/red"_s, state));
    EXPECT_EQ(**second.find(u"/red"_s, state), square(red));
    ASSERT_TRUE(second.find(u"/broken"_s, state));
    EXPECT_FALSE(*second.find(u"/broken"_s, state)) << "known to be no picture";
    EXPECT_FALSE(second.find(u"/blue"_s, state));
}

TEST_F(PictureCacheTest, aFileInAnotherStateIsNotKnown) {
    PictureCache first = cache();
    first.add(u"/red"_s, state, square(red));
    for (PictureCache *run : {&first, static_cast<PictureCache *>(nullptr)}) {
        first.store();
        PictureCache next = cache();
        PictureCache &asked = run ? *run : next;
        EXPECT_FALSE(asked.find(u"/red"_s, {state.changed + 1, state.size}));
        EXPECT_FALSE(asked.find(u"/red"_s, {state.changed, state.size + 1}));
        EXPECT_TRUE(asked.find(u"/red"_s, state));
    }
}

TEST_F(PictureCacheTest, picturesAreUsedWhereTheyAreInTheFile) {
    for (const int edge : {32, 64}) {
        PictureCache first = cache(edge);
        first.add(u"/red"_s, state, square(red, edge));
        first.store();
        PictureCache second = cache(edge);
        const auto image = second.find(u"/red"_s, state);
        ASSERT_TRUE(image && *image);
        EXPECT_EQ(placeOf(*image), stored());
        EXPECT_EQ((*image)->devicePixelRatio(), edge / 32.0);
    }
}

TEST_F(PictureCacheTest, whatThisRunDrewLiesInAFileToo) {
    for (const int edge : {32, 48}) { // of which the second fills no whole pages
        PictureCache run = cache(edge);
        std::vector<std::pair<QColor, Image>> added;
        for (const QColor &color : {red, blue, QColor(Qt::green)})
            added.emplace_back(color, run.add(color.name(), state, square(color, edge)));
        for (const bool isStored : {false, true}) {
            if (isStored)
                run.store();
            for (const auto &[color, image] : added) {
                EXPECT_EQ(*image, square(color, edge)) << "stored: " << isStored;
                EXPECT_EQ(image->devicePixelRatio(), edge / 32.0);
                EXPECT_EQ(placeOf(image), u"(deleted)"_s) << "the name of a file without one";
            }
        }
    }
}

TEST_F(PictureCacheTest, whereNoFileCanBeMadeWhatIsDrawnStaysInMemory) {
    PictureCache nowhere(u"/proc/no/icons"_s, 32, 1);
    const Image image = nowhere.add(u"/red"_s, state, square(red));
    EXPECT_EQ(*image, square(red));
    nowhere.store();
    EXPECT_EQ(*nowhere.find(u"/red"_s, state), image);
}

TEST_F(PictureCacheTest, equalPicturesAreOne) {
    PictureCache first = cache();
    const Image one = first.add(u"/one"_s, state, square(red));
    EXPECT_EQ(first.add(u"/two"_s, state, square(red)), one);
    EXPECT_NE(first.add(u"/other"_s, state, square(blue)), one);
    first.store();
    EXPECT_EQ(storedBytes().size(), FileMap::alignment + 2 * 4096) << "records, two pictures";
    PictureCache second = cache();
    EXPECT_EQ(*second.find(u"/one"_s, state), *second.find(u"/two"_s, state));
    EXPECT_EQ(middle(*second.find(u"/other"_s, state)), blue);
}

TEST_F(PictureCacheTest, sizesInPixelsShareAFileAndDoNotMixUp) {
    PictureCache small = cache(32);
    small.add(u"/icon"_s, state, square(red, 32));
    small.store();
    PictureCache large = cache(64);
    EXPECT_FALSE(large.find(u"/icon"_s, state));
    large.add(u"/icon"_s, state, square(blue, 64));
    large.store();
    EXPECT_EQ(**cache(32).find(u"/icon"_s, state), square(red, 32));
    PictureCache again = cache(64);
    EXPECT_EQ(middle(*again.find(u"/icon"_s, state)), blue);
}

TEST_F(PictureCacheTest, aDamagedFileCountsAsEmptyAndIsReplaced) {
    PictureCache first = cache();
    for (int i = 0; i < 100; ++i)
        first.add(u'/' + QString::number(i), state, square(QColor(i, 0, 1)));
    first.store();
    const QByteArray sound = storedBytes();
    const auto damaged = [&sound](qsizetype place) {
        QByteArray bytes = sound;
        bytes[place] = static_cast<char>(~bytes[place]);
        return bytes;
    };
    QByteArray tooMany = sound;
    tooMany.replace(8, 8, QByteArray::fromHex("ffffffffffffff00"));
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("x"), sound.left(31), sound.left(32), sound.left(1000),
          damaged(0), damaged(8), damaged(16), damaged(40), damaged(4000), tooMany,
          QByteArray(100'000, '\xff'), QByteArray(100'000, '\0')}) {
        file(u"cache/Corvid/icons"_s, bytes);
        PictureCache next = cache();
        EXPECT_FALSE(next.find(u"/5"_s, state)) << bytes.size();
        next.add(u"/5"_s, state, square(red));
        next.store();
        EXPECT_TRUE(cache().find(u"/5"_s, state)) << bytes.size();
    }
    file(u"cache/Corvid/icons"_s, sound.left(sound.size() - 4096));
    PictureCache cut = cache();
    int known = 0;
    for (int i = 0; i < 100; ++i)
        known += cut.find(u'/' + QString::number(i), state) ? 1 : 0;
    EXPECT_EQ(known, 99) << "all but the picture that is missing";
}

TEST_F(PictureCacheTest, whatIsNoFileCountsAsEmpty) {
    ASSERT_TRUE(QDir().mkpath(stored()));
    EXPECT_FALSE(cache().find(u"/red"_s, state));
    ASSERT_TRUE(QDir().rmdir(stored()));
    ASSERT_EQ(mkfifo(QFile::encodeName(stored()).constData(), 0600), 0);
    PictureCache next = cache();
    EXPECT_FALSE(next.find(u"/red"_s, state));
    next.add(u"/red"_s, state, square(red));
    next.store();
    EXPECT_EQ(middle(*next.find(u"/red"_s, state)), red) << "for this run, at least";
}

TEST_F(PictureCacheTest, aFileThatIsCutShortWhileInUseEndsNothing) {
    PictureCache first = cache();
    first.add(u"/red"_s, state, square(red));
    first.add(u"/blue"_s, state, square(blue));
    first.store();
    PictureCache second = cache();
    const Image image = *second.find(u"/red"_s, state);
    ASSERT_TRUE(QFile::resize(stored(), 10));
    EXPECT_EQ(middle(image), nothing);
    EXPECT_FALSE(second.find(u"/blue"_s, state));
    second.add(u"/blue"_s, state, square(blue));
    second.store();
    EXPECT_EQ(middle(*cache().find(u"/blue"_s, state)), blue);
}

TEST_F(PictureCacheTest, whatWasNotAskedForInAMonthIsLeftOutWhenTheFileIsWritten) {
    const QDate day = QDate::currentDate();
    PictureCache first = cache();
    first.add(u"/used"_s, state, square(red));
    first.add(u"/old"_s, state, square(blue));
    first.store(day.addDays(-40));
    PictureCache second = cache();
    EXPECT_TRUE(second.find(u"/used"_s, state));
    second.add(u"/new"_s, state, square(nothing));
    second.store(day);
    PictureCache third = cache();
    EXPECT_TRUE(third.find(u"/used"_s, state));
    EXPECT_TRUE(third.find(u"/new"_s, state));
    EXPECT_FALSE(third.find(u"/old"_s, state));
    third.add(u"/newer"_s, state, {});
    third.store(day.addDays(-400)); // by a clock that was set back
    EXPECT_TRUE(cache().find(u"/used"_s, state));
}

TEST_F(PictureCacheTest, theFileHasABound) {
    PictureCache first = cache(512);
    for (int i = 0; i < 80; ++i)
        first.add(u'/' + QString::number(i), state, square(QColor(i, 0, 1), 512));
    first.store();
    EXPECT_GT(QFileInfo(stored()).size(), 60'000'000);
    EXPECT_LT(QFileInfo(stored()).size(), 70'000'000);
}

TEST_F(PictureCacheTest, severalThreadsMayAskAtOnce) {
    PictureCache first = cache();
    std::vector<std::jthread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            for (int n = 0; n < 50; ++n) {
                const QString name = u'/' + QString::number(n);
                if (middle(first.add(name, state, square(QColor(n, 1, 1)))) == QColor(n, 1, 1) &&
                    first.find(name, state))
                    ++right;
                if (n % 10 == i)
                    first.store();
            }
        });
    threads.clear();
    EXPECT_EQ(right, 200);
}
