#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace corvid {

/**
 * The content of a file that others may have put there. Absent when there is none, when it cannot
 * be read, when it is larger than `most` bytes, and when it is no regular file: a pipe or a device
 * would keep the reader waiting, or never end. Any thread; blocks on the disk.
 */
std::optional<QByteArray> readRegularFile(const QString &path, qint64 most);

} // namespace corvid
