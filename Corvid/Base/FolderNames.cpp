#include "Base/FolderNames.h"

#include <QFile>

#include <dirent.h>

namespace corvid {

QStringList namesInFolder(const QString &folder) {
    QStringList names;
    DIR *stream = opendir(QFile::encodeName(folder).constData());
    if (!stream)
        return names;
    while (const dirent *entry = readdir(stream)) {
        const QByteArray bytes(entry->d_name);
        const QString name = QFile::decodeName(bytes);
        if (bytes != "." && bytes != ".." && QFile::encodeName(name) == bytes)
            names.append(name);
    }
    closedir(stream);
    names.sort();
    return names;
}

} // namespace corvid
