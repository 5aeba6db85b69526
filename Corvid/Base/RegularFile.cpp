#include "Base/RegularFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvid {

std::optional<QByteArray> readRegularFile(const QString &path, qint64 most) {
    // Looked at when it is open: between a look at the name and the opening it can be exchanged.
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (descriptor < 0)
        return std::nullopt;
    struct stat status = {};
    QFile file;
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > most ||
        !file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered,
                   QFileDevice::AutoCloseHandle)) {
        close(descriptor);
        return std::nullopt;
    }
    // What is appended meanwhile does not count.
    QByteArray bytes = file.read(status.st_size);
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

} // namespace corvid
