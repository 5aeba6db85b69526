// Whatever the file of kept icons says, a picture lies within it.
#include "FuzzInput.h"
#include "Platform/Linux/Icons/PictureCache.h"

#include <QCryptographicHash>

#include <numeric>

#include <sys/mman.h>
#include <unistd.h>

using namespace corvid;
using fuzz::require;

namespace {

constexpr qsizetype recordSize = 48;
constexpr qsizetype keySize = 16;
constexpr FileState state{1, 1};

/** The input as records, the first of which is the picture's that is asked for, behind a header
    that is right. The first byte says how many pages of pixels follow. */
QByteArray fileOf(const QByteArray &input, const QByteArray &key) {
    QByteArray records = input.sliced(1);
    records.truncate(records.size() / recordSize * recordSize);
    records.replace(0, std::min(records.size(), keySize), key.left(records.size()));
    const quint64 count = static_cast<quint64>(records.size() / recordSize);
    QByteArray bytes = "Corvid01";
    bytes.append(reinterpret_cast<const char *>(&count), sizeof count);
    bytes.append(QCryptographicHash::hash(records, QCryptographicHash::Blake2s_128));
    bytes.append(records);
    const auto listed = static_cast<std::size_t>(bytes.size());
    const std::size_t start =
        (listed + FileMap::alignment - 1) / FileMap::alignment * FileMap::alignment;
    bytes.resize(static_cast<qsizetype>(start) + 4096 * static_cast<uchar>(input[0]), 'x');
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray input = fuzz::bytesOf(data, size);
    if (input.isEmpty())
        return 0;
    const QByteArray name = QByteArray("/x") + '\0' + "32" + '\0' + qVersion();
    const QByteArray bytes =
        fileOf(input, QCryptographicHash::hash(name, QCryptographicHash::Blake2s_128));
    const int file = memfd_create("icons", 0);
    require(write(file, bytes.constData(), static_cast<std::size_t>(bytes.size())) == bytes.size(),
            "the file can be written");
    PictureCache cache(QStringLiteral("/proc/self/fd/%1").arg(file), 32, 1);
    if (const std::optional<Image> image = cache.find(QStringLiteral("/x"), state); image && *image)
        require(std::accumulate((*image)->constBits(),
                                (*image)->constBits() + (*image)->sizeInBytes(), 0U) > 0,
                "the picture is part of the file");
    close(file);
    return 0;
}
