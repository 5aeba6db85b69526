#include "Base/RegularFile.h"

#include "Base/FileDescriptor.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace corvid {

std::optional<QByteArray> readRegularFile(const QString &path, qint64 most) {
    // Checked once it is open: after a check of the name, another file could take its place.
    const FileDescriptor descriptor(
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status = {};
    QFile file;
    if (!descriptor.valid() || fstat(descriptor.number(), &status) != 0 ||
        !S_ISREG(status.st_mode) || status.st_size > most ||
        !file.open(descriptor.number(), QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    // What is appended meanwhile does not count.
    QByteArray bytes = file.read(status.st_size);
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

} // namespace corvid
