#pragma once

#include "Base/FileDescriptor.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <utility>

namespace corvid {

/** A regular file that was opened for reading. What its name leads to later does not matter. */
class OpenedFile {
public:
    /** Tells one file from another, by whatever names they are reached. */
    struct Identity {
        quint64 device = 0;
        quint64 inode = 0;
        bool operator<(const Identity &other) const {
            return device != other.device ? device < other.device : inode < other.inode;
        }
    };

    OpenedFile(FileDescriptor descriptor, qint64 size, const Identity &identity)
        : descriptor_(std::move(descriptor)), size_(size), identity_(identity) {}

    /** In bytes, when it was opened. */
    qint64 size() const { return size_; }
    const Identity &identity() const { return identity_; }

    /** Its first size() bytes, fewer when it became shorter; absent when they cannot be read. Once:
        it reads on from where it is. Any thread; blocks on the disk. */
    std::optional<QByteArray> read() const;

private:
    FileDescriptor descriptor_;
    qint64 size_;
    Identity identity_;
};

/**
 * Opens a file that others may have put there. Absent when there is none, when it may not be read,
 * and when it is no regular file: a pipe or a device would keep the reader waiting, or never end.
 * Any thread; blocks on the disk.
 */
std::optional<OpenedFile> openRegularFile(const QString &path);

/** The content of such a file; absent also when it is larger than `most` bytes. */
std::optional<QByteArray> readRegularFile(const QString &path, qint64 most);

} // namespace corvid
