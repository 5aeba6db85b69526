#include "Platform/Linux/Icons/PictureSpool.h"

#include "Base/AtomicFile.h"

#include <QFile>

#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace corvid {

namespace {

void releaseMap(void *map) {
    delete static_cast<std::shared_ptr<const FileMap> *>(map);
}

} // namespace

QImage pictureIn(const std::shared_ptr<const FileMap> &file, unsigned char *pixels, int edge) {
    return {pixels,     edge,
            edge,       QImage::Format_ARGB32_Premultiplied,
            releaseMap, new std::shared_ptr<const FileMap>(file)};
}

PictureSpool::PictureSpool(QString folder, std::size_t mostBytes)
    : folder_(std::move(folder)), mostBytes_(mostBytes) {}

void PictureSpool::open() {
    if (std::exchange(opened_, true) || !makePrivateFolders(folder_))
        return;
    file_ = FileDescriptor(::open(QFile::encodeName(folder_).constData(),
                                  O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
    // As large as it may grow: what nothing was written to takes no room on the disk.
    if (file_.valid() && ftruncate(file_.number(), static_cast<off_t>(mostBytes_)) == 0)
        map_ = FileMap::of(file_.number(), mostBytes_);
}

QImage PictureSpool::put(const QImage &drawn) {
    open();
    const auto size = static_cast<std::size_t>(drawn.sizeInBytes());
    if (!map_ || size > mostBytes_ - end_ ||
        drawn.format() != QImage::Format_ARGB32_Premultiplied ||
        pwrite(file_.number(), drawn.constBits(), size, static_cast<off_t>(end_)) !=
            static_cast<ssize_t>(size))
        return drawn;
    return pictureIn(map_, map_->data() + std::exchange(end_, end_ + size), drawn.width());
}

void PictureSpool::forgetPages() {
    if (map_) // nobody writes into it, so what comes back is the same
        madvise(map_->data(), map_->size(), MADV_DONTNEED);
}

} // namespace corvid
