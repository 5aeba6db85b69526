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

/** What a path lies on. */
struct Place {
    const Mount *mount = nullptr;
    bool automounted = false; ///< it or a folder above

    VolumeProperties properties() const {
        return mount ? VolumeProperties{isLocal(mount->fileSystem), automounted}
                     : VolumeProperties();
    }
};

bool covers(const Mount &mount, const QByteArray &path) {
    const QByteArray &point = mount.mountPoint;
    return point == "/" ||
           (path.startsWith(point) && (path.size() == point.size() || path[point.size()] == '/'));
}

// A mount shows at its mount point only where the mount that it was put on shows. Several may lie
// on each other: an automounter's trap with the real volume on top, for one. The path has no final
// slash.
Place placeOf(const QByteArray &path, const std::vector<Mount> &mounts) {
    // The parent of a topmost mount lies outside of what this process can see.
    const auto isOn = [&mounts](const Mount &mount, const Mount *below) {
        return below ? mount.parent == below->id && &mount != below
                     : std::ranges::none_of(mounts, [&mount](const Mount &other) {
                           return other.id == mount.parent && &other != &mount;
                       });
    };
    Place place;
    for (std::size_t steps = 0; steps < mounts.size(); ++steps) {
        const Mount *next = nullptr;
        for (const Mount &mount : mounts)
            if (covers(mount, path) && isOn(mount, place.mount) &&
                (!next || mount.mountPoint.size() < next->mountPoint.size()))
                next = &mount;
        if (!next)
            break;
        place = {next, place.automounted || next->fileSystem == "autofs"};
    }
    return place;
}

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

// Where a path leads, following the links on its way that can be looked at without danger.
Place resolve(const QByteArray &path, const std::vector<Mount> &mounts, const ReadLink &readLink) {
    constexpr int mostLinks = 40; // as in the kernel
    constexpr VolumeProperties safe{.local = true, .automounted = false};
    int links = 0;
    QByteArray at; // without a final slash
    const auto goUp = [&at] { at.truncate(std::max<qsizetype>(at.lastIndexOf('/'), 0)); };
    QList<QByteArray> rest = components(path);
    while (!rest.isEmpty()) {
        const QByteArray component = rest.takeFirst();
        if (component == "..") {
            goUp();
            continue;
        }
        at += '/' + component;
        const Place place = placeOf(at, mounts);
        // A look at an unknown file system could hang. A mount point is no link, and to ask would
        // be to touch what is mounted there.
        if (place.properties() != safe || place.mount->mountPoint == at)
            continue;
        const std::optional<QByteArray> target = readLink(at);
        if (!target)
            continue;
        if (++links > mostLinks)
            return {};
        if (target->startsWith('/'))
            at.clear();
        else
            goUp();
        rest = components(*target) + rest;
    }
    return placeOf(at, mounts);
}

std::vector<Mount> presentMounts() {
    QFile table(QStringLiteral("/proc/self/mountinfo"));
    return parseMounts(table.open(QIODevice::ReadOnly) ? table.readAll() : QByteArray());
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
    return resolve(path, mounts, readLink).properties();
}

int volumeNumber(const QByteArray &path, const std::vector<Mount> &mounts,
                 const ReadLink &readLink) {
    const Place place = resolve(path, mounts, readLink);
    return place.mount ? place.mount->id : 0;
}

VolumeProperties MountedVolumes::properties(const QString &path) const {
    return volumeProperties(QFile::encodeName(path), presentMounts(), readLinkAt);
}

int MountedVolumes::volume(const QString &path) const {
    return volumeNumber(QFile::encodeName(path), presentMounts(), readLinkAt);
}

} // namespace corvid
