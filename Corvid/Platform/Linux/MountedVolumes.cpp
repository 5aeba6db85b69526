#include "Platform/Linux/MountedVolumes.h"

#include <QFile>
#include <QList>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace corvid {

namespace {

// clang-format off
constexpr std::array<std::string_view, 27> networkFileSystems{
    "afs", "beegfs", "ceph", "cifs", "coda", "davfs", "fuse.afpfs", "fuse.ceph", "fuse.cephfs",
    "fuse.curlftpfs", "fuse.davfs", "fuse.gcsfuse", "fuse.glusterfs", "fuse.goofys",
    "fuse.gvfsd-fuse", "fuse.rclone", "fuse.s3fs", "fuse.smbnetfs", "fuse.sshfs", "glusterfs",
    "lustre", "ncpfs", "nfs", "nfs4", "orangefs", "smb3", "smbfs"};
// clang-format on

// Behind FUSE and an automounter's trap there may be anything. "fuseblk" (NTFS, exFAT) has a block
// device below it and is local, and so are a virtual machine's shared folders (9p, virtiofs): their
// host is this machine.
std::optional<bool> isLocal(const QByteArray &fileSystem) {
    const std::string_view type(fileSystem.constData(),
                                static_cast<std::size_t>(fileSystem.size()));
    if (std::ranges::find(networkFileSystems, type) != networkFileSystems.end())
        return false;
    if (type == "autofs" || type == "fuse" || type.starts_with("fuse."))
        return std::nullopt;
    return true;
}

// The kernel escapes these, and no others. The backslash itself comes last.
QByteArray unescaped(QByteArray field) {
    return field.replace("\\040", " ")
        .replace("\\011", "\t")
        .replace("\\012", "\n")
        .replace("\\043", "#")
        .replace("\\134", "\\");
}

std::optional<Mount> parseMount(const QByteArray &line) {
    // 36 35 98:0 /root /mount/point options [optional fields] - type source options
    enum { Id, Parent, Device, Root, MountPoint, Options, FirstOptional };
    const QList<QByteArray> fields = line.split(' ');
    const qsizetype separator = fields.indexOf("-", FirstOptional);
    if (separator < 0 || separator + 1 >= fields.size())
        return std::nullopt;
    bool idOk = false;
    bool parentOk = false;
    Mount mount{fields[Id].toInt(&idOk), fields[Parent].toInt(&parentOk),
                unescaped(fields[MountPoint]), fields[separator + 1]};
    if (!idOk || !parentOk || !mount.mountPoint.startsWith('/') || mount.fileSystem.isEmpty())
        return std::nullopt;
    return mount;
}

/** Goes down a path one component at a time, and knows at each step which mount it is on. */
class Descent {
public:
    explicit Descent(const std::vector<Mount> &mounts) : mounts_(mounts) { restart(); }

    void restart() {
        levels_.assign(1, Level());
        enterMounts();
    }
    void up() {
        if (levels_.size() > 1)
            levels_.pop_back();
    }
    void down(const QByteArray &component) {
        const Level &above = levels_.back();
        levels_.push_back({above.path + '/' + component, above.mount, above.automounted});
        enterMounts();
    }

    /** Without a final slash; empty at the top. */
    const QByteArray &path() const { return levels_.back().path; }

    /** Whether something is mounted on the present folder, which is not the topmost. */
    bool startsMount() const { return levels_.back().mount != levels_[levels_.size() - 2].mount; }

    VolumeProperties properties() const {
        if (!levels_.back().mount)
            return {};
        return {isLocal(levels_.back().mount->fileSystem), levels_.back().automounted};
    }

    /** Whether a look at the present folder cannot hang. */
    bool isSafeToTouch() const {
        const VolumeProperties known = properties();
        return known.local.value_or(false) && !known.automounted.value_or(true);
    }

private:
    struct Level {
        QByteArray path;
        const Mount *mount = nullptr;
        bool automounted = false; ///< it or a folder above
    };

    // A mount shows at its mount point only where the mount that it was put on shows. Several may
    // lie on each other: an automounter's trap with the real volume on top, for one.
    void enterMounts() {
        Level &level = levels_.back();
        const QByteArray point = level.path.isEmpty() ? QByteArray("/") : level.path;
        for (std::size_t steps = 0; steps < mounts_.size(); ++steps) {
            const auto next = std::find_if(mounts_.begin(), mounts_.end(), [&](const Mount &mount) {
                return mount.mountPoint == point && &mount != level.mount &&
                       (level.mount ? mount.parent == level.mount->id : isTop(mount));
            });
            if (next == mounts_.end())
                return;
            level.mount = &*next;
            level.automounted = level.automounted || next->fileSystem == "autofs";
        }
    }

    // Its parent lies outside of what this process can see.
    bool isTop(const Mount &mount) const {
        return std::none_of(mounts_.begin(), mounts_.end(), [&](const Mount &other) {
            return other.id == mount.parent && &other != &mount;
        });
    }

    const std::vector<Mount> &mounts_;
    std::vector<Level> levels_;
};

QList<QByteArray> components(const QByteArray &path) {
    QList<QByteArray> parts = path.split('/');
    parts.removeAll(QByteArray());
    parts.removeAll(".");
    return parts;
}

std::optional<QByteArray> readLinkAt(const QByteArray &path) {
    std::error_code error;
    const auto target = std::filesystem::read_symlink(path.toStdString(), error);
    return error ? std::nullopt : std::optional(QByteArray::fromStdString(target.native()));
}

} // namespace

std::vector<Mount> parseMounts(const QByteArray &mountinfo) {
    std::vector<Mount> mounts;
    const QList<QByteArray> lines = mountinfo.split('\n');
    for (const QByteArray &line : lines) {
        if (std::optional<Mount> mount = parseMount(line))
            mounts.push_back(*std::move(mount));
    }
    return mounts;
}

VolumeProperties volumeProperties(const QByteArray &path, const std::vector<Mount> &mounts,
                                  const ReadLink &readLink) {
    constexpr int mostLinks = 40; // as in the kernel
    int links = 0;
    Descent descent(mounts);
    QList<QByteArray> rest = components(path);
    while (!rest.isEmpty()) {
        const QByteArray component = rest.takeFirst();
        if (component == "..") {
            descent.up();
            continue;
        }
        const bool mayAsk = descent.isSafeToTouch();
        descent.down(component);
        // A mount point is no link, and to ask would be to touch what is mounted there.
        if (!mayAsk || descent.startsMount())
            continue;
        const std::optional<QByteArray> target = readLink(descent.path());
        if (!target)
            continue;
        if (++links > mostLinks)
            return {};
        if (target->startsWith('/'))
            descent.restart();
        else
            descent.up();
        rest = components(*target) + rest;
    }
    return descent.properties();
}

VolumeProperties MountedVolumes::properties(const QString &path) const {
    QFile table(QStringLiteral("/proc/self/mountinfo"));
    if (!table.open(QIODevice::ReadOnly))
        return {};
    return volumeProperties(QFile::encodeName(path), parseMounts(table.readAll()), readLinkAt);
}

} // namespace corvid
