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

/** Makes the folder and its missing parents, for the user alone (0700). False
    when that is impossible. Any thread; blocks on the disk. */
bool makePrivateFolders(const QString &folder);

/** Takes the advisory lock of an open file or folder: LOCK_EX or LOCK_SH. Waits while others hold
    it, but for two seconds at most, since the holder may have been stopped. False when it cannot be
    had. Any thread. */
bool lockFile(int descriptor, int operation);

/** Moves a damaged file to "<path>.damaged-<UTC time>", so that `path` can be written anew; it is
    `path` itself or what that links to. Moved, not copied: what somebody is just writing into the
    file is kept as well. False when that is impossible. Any thread; blocks on the disk. */
bool keepAside(const QString &damaged, const QString &path);

} // namespace corvid
