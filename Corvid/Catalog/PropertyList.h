#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace corvid {

/**
 * The top-level dictionary of a property list, XML or binary, reduced to the entries whose values
 * are strings. Absent when the bytes are no sound property list or hold no dictionary. Survives
 * any bytes, in time and memory proportional to their number; libplist crashes or hangs on files
 * made for it, and reads XML neither in UTF-16 nor with entities of its own. Any thread.
 */
std::optional<QHash<QString, QString>> decodePropertyList(const QByteArray &bytes);

/** The same for the Info.plist of an application bundle. Absent also when the file cannot be read
    or has more than 16 MiB. Blocks on the disk; any thread. */
std::optional<QHash<QString, QString>> readBundleInfo(const QString &bundlePath);

} // namespace corvid
