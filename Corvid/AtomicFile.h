#pragma once

#include <QByteArray>
#include <QString>

namespace corvid {

/**
 * Replaces a file's content as a whole: whoever reads the path, at whatever moment we are
 * killed, sees the old bytes or the new ones. Creates missing folders (0700); the file is 0600.
 * Any thread; blocks on the disk. False when the bytes could not be written; the old file then
 * stands untouched.
 */
bool writeFileAtomically(const QString &path, const QByteArray &bytes);

} // namespace corvid
