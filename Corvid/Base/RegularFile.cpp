#include "Base/RegularFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace corvid {

std::optional<QByteArray> OpenedFile::read() const {
    QFile file;
    if (!file.open(descriptor_.number(), QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    // What is appended meanwhile does not count.
    QByteArray bytes = file.read(size_);
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

std::optional<OpenedFile> openRegularFile(const QString &path) {
    // Checked once it is open: after a check of the name, another file could take its place.
    FileDescriptor descriptor(
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status = {};
    if (!descriptor.valid() || fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return OpenedFile(std::move(descriptor), status.st_size, {status.st_dev, status.st_ino});
}

std::optional<QByteArray> readRegularFile(const QString &path, qint64 most) {
    const std::optional<OpenedFile> file = openRegularFile(path);
    return file && file->size() <= most ? file->read() : std::nullopt;
}

} // namespace corvid
