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

/** The texts of an application bundle's Contents/Info.plist, for example of "CFBundleIdentifier".
    None when there is no sound one of at most 16 MiB. Reads a file; background only. */
QHash<QString, QString> bundleProperties(const QString &bundlePath);

} // namespace corvid
