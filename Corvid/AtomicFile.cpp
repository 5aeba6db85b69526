#include "AtomicFile.h"

#include <QFileInfo>
#include <QSaveFile>

#include <sys/stat.h>

namespace corvid {

namespace {

// QDir::mkpath cannot set a mode, and these folders are nobody else's business.
bool makePrivateFolders(const QString &folder) {
    if (QFileInfo(folder).isDir())
        return true;
    const QString parent = QFileInfo(folder).path();
    if (parent == folder || !makePrivateFolders(parent))
        return false;
    return mkdir(QFile::encodeName(folder).constData(), S_IRWXU) == 0 || QFileInfo(folder).isDir();
}

} // namespace

bool writeFileAtomically(const QString &path, const QByteArray &bytes) {
    if (!makePrivateFolders(QFileInfo(path).path()))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    return file.write(bytes) == bytes.size() && file.commit();
}

} // namespace corvid
