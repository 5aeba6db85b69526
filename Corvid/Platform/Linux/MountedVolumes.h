#pragma once

#include "Platform/Volumes.h"

#include <QByteArray>

#include <functional>
#include <optional>
#include <vector>

namespace corvid {

/** One line of the kernel's table of mounts. */
struct Mount {
    int id = 0;
    int parent = 0; ///< id of the mount that this one is mounted on
    QByteArray mountPoint;
    QByteArray fileSystem; ///< type, e.g. "ext4", "fuse.sshfs"

    bool operator==(const Mount &) const = default;
};

/** Reads the text of /proc/self/mountinfo; leaves out lines that are none. Pure, for any bytes.
    GIO's list of mounts lacks what tells which of them are covered: the parents. libmount has them,
    but to go through its table takes as much code as to read these lines. */
std::vector<Mount> parseMounts(const QByteArray &mountinfo);

/** The target of a symbolic link; absent when the path is none. */
using ReadLink = std::function<std::optional<QByteArray>(const QByteArray &path)>;

/**
 * What the table says of the volume that an absolute path lies on. Follows symbolic links on the
 * way, but asks `readLink` for no path at or below a mount that is not known to be local or that
 * an automounter made. Nothing is known when the table does not cover the path, when links go in
 * circles, and of file systems of unknown kind whether they are local.
 */
VolumeProperties volumeProperties(const QByteArray &path, const std::vector<Mount> &mounts,
                                  const ReadLink &readLink);

/** The id of the mount that an absolute path lies on, found in the same way; 0 where the table does
    not tell. */
int volumeNumber(const QByteArray &path, const std::vector<Mount> &mounts,
                 const ReadLink &readLink);

/** Reads the table of mounts afresh at each call. */
class MountedVolumes final : public Volumes {
public:
    VolumeProperties properties(const QString &path) const override;
    int volume(const QString &path) const override;
};

} // namespace corvid
