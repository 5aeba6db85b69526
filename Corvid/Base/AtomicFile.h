#pragma once

#include <QByteArray>
#include <QString>

namespace corvid {

/**
 * Replaces a file's content as a whole: whoever reads the path, at whatever moment we are
 * killed, sees the old bytes or the new ones. Creates missing folders (0700); the file is 0600.
 * A symbolic link stays one, its target is replaced. A file that is write-protected or is not a
 * regular file is left alone.
 *
 * A writer that is killed leaves its temporary file behind; the next write of the same path, by
 * any process, removes it.
 *
 * Any thread, any number of processes; blocks on the disk. False when the bytes could not be
 * written; the old file then stands untouched.
 */
bool writeFileAtomically(const QString &path, const QByteArray &bytes);

/** Makes the folder and its missing parents, which are nobody else's business (0700). False
    when that is impossible. Any thread; blocks on the disk. */
bool makePrivateFolders(const QString &folder);

} // namespace corvid
