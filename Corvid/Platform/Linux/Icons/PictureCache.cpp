#include "Platform/Linux/Icons/PictureCache.h"

#include "Base/AtomicFile.h"
#include "Base/FileDescriptor.h"
#include "Platform/Linux/Icons/PictureProtocol.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvid {

namespace {

// Another one when the file's format changes.
constexpr std::array<char, 8> magic{'C', 'o', 'r', 'v', 'i', 'd', '0', '1'};
constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t mostRecords = 10'000;
constexpr std::size_t mostBytes = 64 * 1024 * 1024; // of pixels
constexpr off_t largestFile = 2 * mostBytes;
constexpr quint32 keptDays = 30;

std::array<unsigned char, 16> digest(QByteArrayView bytes) {
    QCryptographicHash hash(QCryptographicHash::Blake2s_128);
    hash.addData(bytes);
    std::array<unsigned char, 16> result{};
    const QByteArray value = hash.result();
    std::copy_n(value.begin(), result.size(), result.begin());
    return result;
}

std::size_t pixelBytes(quint32 edge) {
    return std::size_t(edge) * edge * bytesPerPixel;
}

} // namespace

/** The file begins with it, the records follow, sorted by key, then the pixels. */
struct PictureCache::Header {
    std::array<char, 8> magic;
    quint64 records;
    Key sum; ///< of the records
};

PictureCache::PictureCache(QString path, int edge, qreal devicePixelRatio)
    : path_(std::move(path)), edge_(edge), devicePixelRatio_(devicePixelRatio),
      spool_(QFileInfo(path_).path(), mostBytes) {}

// Another version of the toolkit may draw what this one does not.
PictureCache::Key PictureCache::keyOf(const QString &file) const {
    return digest(QFile::encodeName(file) + '\0' + QByteArray::number(edge_) + '\0' + qVersion());
}

void PictureCache::open() {
    static_assert(std::is_trivially_copyable_v<Record> && sizeof(Record) == 48);
    if (std::exchange(opened_, true))
        return;
    images_.clear();
    drawn_.clear();
    used_.clear();
    list_ = pixels_ = nullptr;
    const FileDescriptor file(
        ::open(QFile::encodeName(path_).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status = {};
    if (!file.valid() || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > largestFile)
        return;
    const auto size = static_cast<std::size_t>(status.st_size);
    if (!readList(file.number(), size))
        return;
    if (const std::size_t start = startOfPixels(used_.size()); start < size)
        pixels_ = FileMap::of(file.number(), size - start, start);
}

bool PictureCache::readList(int descriptor, std::size_t size) {
    Header header{};
    if (pread(descriptor, &header, sizeof header, 0) != sizeof header || header.magic != magic ||
        header.records > (size - sizeof header) / sizeof(Record))
        return false;
    const std::size_t listed = header.records * sizeof(Record);
    auto list = FileMap::of(descriptor, sizeof header + listed);
    if (!list ||
        header.sum != digest({list->data() + sizeof header, static_cast<qsizetype>(listed)}))
        return false;
    list_ = std::move(list);
    used_.resize(header.records);
    return true;
}

std::size_t PictureCache::startOfPixels(std::size_t records) {
    const std::size_t listed = sizeof(Header) + records * sizeof(Record);
    return (listed + FileMap::alignment - 1) / FileMap::alignment * FileMap::alignment;
}

// Whoever writes into the file while we use it may change a record, but not how many there are;
// what a record says is checked each time.
PictureCache::Record PictureCache::record(std::size_t index) const {
    Record result;
    std::memcpy(&result, list_->data() + sizeof(Header) + index * sizeof result, sizeof result);
    return result;
}

/** Of the first record that is not before the key. */
std::size_t PictureCache::indexOf(const Key &key) const {
    std::size_t first = 0;
    for (std::size_t count = used_.size(); count > 0;) {
        const std::size_t half = count / 2;
        if (record(first + half).key < key) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    return first;
}

bool PictureCache::isWithin(const Record &record) const {
    const std::size_t start = startOfPixels(used_.size());
    return record.place == 0 ||
           (pixels_ && record.edge > 0 && record.edge <= largestEdge && record.place >= start &&
            record.place - start < pixels_->size() && record.place % bytesPerPixel == 0 &&
            pixelBytes(record.edge) <= pixels_->size() - (record.place - start));
}

unsigned char *PictureCache::pixelsAt(quint64 place) const {
    return pixels_->data() + (place - startOfPixels(used_.size()));
}

std::optional<Image> PictureCache::find(const QString &file, const FileState &state) {
    const Key key = keyOf(file);
    const std::scoped_lock lock(mutex_);
    open();
    if (const auto found = added_.find(key); found != added_.end())
        return found->second.state == state ? std::optional(found->second.image) : std::nullopt;
    const std::size_t index = indexOf(key);
    if (index == used_.size())
        return std::nullopt;
    const Record known = record(index);
    if (known.key != key || known.state != state || known.edge != static_cast<quint32>(edge_) ||
        !isWithin(known))
        return std::nullopt;
    used_[index] = true;
    return known.place == 0 ? Image() : imageAt(known.place);
}

Image PictureCache::imageAt(quint64 place) {
    std::weak_ptr<const QImage> &shared = images_[place];
    if (Image image = shared.lock())
        return image;
    QImage image = pictureIn(pixels_, pixelsAt(place), edge_);
    image.setDevicePixelRatio(devicePixelRatio_);
    Image result = std::make_shared<const QImage>(std::move(image));
    shared = result;
    return result;
}

Image PictureCache::add(const QString &file, const FileState &state, const QImage &drawn) {
    const Key key = keyOf(file);
    const std::scoped_lock lock(mutex_);
    open();
    Image image;
    if (!drawn.isNull()) {
        std::weak_ptr<const QImage> &shared =
            drawn_[digest({drawn.constBits(), drawn.sizeInBytes()})];
        image = shared.lock();
        if (!image) {
            QImage picture = spool_.put(drawn);
            picture.setDevicePixelRatio(devicePixelRatio_);
            image = std::make_shared<const QImage>(std::move(picture));
            shared = image;
        }
    }
    added_.insert_or_assign(key, Added{state, image});
    return image;
}

/** What is worth keeping, the newest first. */
std::vector<PictureCache::ToStore> PictureCache::whatToStore(quint32 today) const {
    std::vector<ToStore> result;
    for (const auto &[key, added] : added_)
        result.push_back({{key, added.state, 0, static_cast<quint32>(edge_), today},
                          added.image ? added.image->constBits() : nullptr});
    for (std::size_t index = 0; index < used_.size(); ++index) {
        Record known = record(index);
        known.day = used_[index] ? today : std::min(known.day, today);
        if (!added_.contains(known.key) && isWithin(known) && today - known.day <= keptDays)
            result.push_back({known, known.place == 0 ? nullptr : pixelsAt(known.place)});
    }
    std::ranges::stable_sort(result, std::ranges::greater{},
                             [](const ToStore &entry) { return entry.record.day; });
    return result;
}

void PictureCache::store(QDate today) {
    const std::scoped_lock lock(mutex_);
    if (added_.empty())
        return;
    open();
    std::vector<Record> records;
    QByteArray pixels;
    std::map<std::pair<quint32, Key>, quint64> places; // of those that differ
    for (auto &[record, source] : whatToStore(static_cast<quint32>(today.toJulianDay()))) {
        const auto size = static_cast<qsizetype>(pixelBytes(record.edge));
        record.place = 0;
        if (source) {
            const auto [place, isNew] = places.try_emplace({record.edge, digest({source, size})},
                                                           static_cast<quint64>(pixels.size()) + 1);
            if (isNew)
                pixels.append(reinterpret_cast<const char *>(source), size);
            record.place = place->second;
        }
        records.push_back(record);
        if (records.size() == mostRecords || pixels.size() > qsizetype(mostBytes))
            break;
    }
    std::ranges::sort(records, {}, &Record::key);

    const std::size_t start = startOfPixels(records.size());
    for (Record &record : records)
        if (record.place != 0)
            record.place += start - 1; // until now counted from 1
    const QByteArrayView list(reinterpret_cast<const char *>(records.data()),
                              static_cast<qsizetype>(records.size() * sizeof(Record)));
    const Header header{magic, records.size(), digest(list)};
    QByteArray bytes(reinterpret_cast<const char *>(&header), sizeof header);
    bytes.append(list.data(), list.size());
    bytes.resize(static_cast<qsizetype>(start), '\0');
    bytes.append(pixels);
    spool_.forgetPages();
    if (!writeFileAtomically(path_, bytes))
        return;
    added_.clear();
    opened_ = false;
}

} // namespace corvid
