#include "Base/AtomicFile.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Where the bytes of a path are. The last link may dangle: its target is then created.
std::optional<QString> followLinks(const QString &path) {
    constexpr int mostLinks = 40; // as many as the kernel follows
    QString target = path;
    for (int links = 0; QFileInfo(target).isSymLink(); ++links) {
        if (links == mostLinks)
            return std::nullopt;
        target = QFileInfo(target).symLinkTarget();
    }
    return target;
}

bool mayBeReplaced(const QString &path) {
    const QFileInfo file(path);
    return !file.exists() || (file.isFile() && file.isWritable());
}

// Not "defaults.json.XXXXXX": a user's "defaults.json.backup" would look like one of ours.
QString temporaryPrefix(const QString &target) {
    const QFileInfo file(target);
    return file.path() + "/."_L1 + file.fileName() + ".corvid-"_L1;
}

// A writer holds the lock of its temporary file until it ends.
void removeLeftovers(const QString &prefix) {
    QDirIterator entries(QFileInfo(prefix).path(), QDir::Files | QDir::Hidden);
    while (entries.hasNext()) {
        const QString path = entries.next();
        if (!path.startsWith(prefix))
            continue;
        QFile leftover(path);
        if (leftover.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) &&
            flock(leftover.handle(), LOCK_EX | LOCK_NB) == 0)
            QFile::remove(path); // leftover.remove() would give up the lock first
    }
}

// Opens a new file whose lock we hold and returns its name; empty when that is impossible.
QByteArray openTemporary(QFile &file, const QString &prefix) {
    for (;;) {
        QByteArray name = QFile::encodeName(prefix) + "XXXXXX";
        const int descriptor = mkostemp(name.data(), O_CLOEXEC);
        if (descriptor < 0)
            return {};
        if (!file.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered,
                       QFileDevice::AutoCloseHandle))
            return {};
        struct stat status = {};
        // Before the lock was ours, another writer may have taken the file for a leftover.
        if (flock(descriptor, LOCK_EX) != 0 || fstat(descriptor, &status) != 0 ||
            status.st_nlink > 0)
            return name;
        file.close();
    }
}

} // namespace

// QDir::mkpath cannot set a mode.
bool makePrivateFolders(const QString &folder) {
    if (QFileInfo(folder).isDir())
        return true;
    const QString parent = QFileInfo(folder).path();
    if (parent == folder || !makePrivateFolders(parent))
        return false;
    return mkdir(QFile::encodeName(folder).constData(), S_IRWXU) == 0 || QFileInfo(folder).isDir();
}

bool writeFileAtomically(const QString &path, const QByteArray &bytes) {
    const std::optional<QString> target = followLinks(path);
    if (!target || !mayBeReplaced(*target) || !makePrivateFolders(QFileInfo(*target).path()))
        return false;
    const QString prefix = temporaryPrefix(*target);
    removeLeftovers(prefix);
    QFile file;
    const QByteArray temporary = openTemporary(file, prefix);
    if (temporary.isEmpty())
        return false;
    const bool replaced = file.write(bytes) == bytes.size() && fsync(file.handle()) == 0 &&
                          rename(temporary.constData(), QFile::encodeName(*target)) == 0;
    if (!replaced)
        unlink(temporary.constData());
    return replaced;
}

bool lockFile(int descriptor, int operation) {
    constexpr auto patience = std::chrono::seconds(2);
    constexpr auto pause = std::chrono::milliseconds(5);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (flock(descriptor, operation | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

bool keepAside(const QString &damaged, const QString &path) {
    const QString name =
        path + ".damaged-"_L1 + QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss'Z'"_s);
    QString free = name;
    for (int number = 2; QFileInfo::exists(free) || QFileInfo(free).isSymLink(); ++number)
        free = name + u'-' + QString::number(number);
    return rename(QFile::encodeName(damaged), QFile::encodeName(free)) == 0 ||
           QFile::rename(damaged, free); // on another disk
}

} // namespace corvid
