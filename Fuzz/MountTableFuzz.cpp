// The kernel's table of mounts, whose paths everybody who may mount can choose: every path has an
// answer, no link is followed on a volume that might hang, and circles end.
#include "FuzzInput.h"
#include "Platform/Linux/MountedVolumes.h"

using namespace corvid;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const qsizetype end = std::max<qsizetype>(bytes.indexOf('\0'), 0);
    const std::vector<Mount> mounts = parseMounts(bytes.mid(end > 0 ? end + 1 : 0));
    for (const Mount &mount : mounts)
        require(mount.mountPoint.startsWith('/') && !mount.fileSystem.isEmpty(),
                "a mount has a place and a kind");
    require(static_cast<qsizetype>(mounts.size()) <= bytes.count('\n') + 1,
            "no more mounts than lines");

    // The first line is a path, the second what the links on the way to it say.
    const QList<QByteArray> head = bytes.left(end).split('\n');
    int asked = 0;
    const auto readLink = [&](const QByteArray &path) -> std::optional<QByteArray> {
        ++asked;
        require(path.startsWith('/') && path != "/", "links are asked for by whole paths");
        const VolumeProperties place = volumeProperties(
            path, mounts, [](const QByteArray & /*path*/) { return std::nullopt; });
        require(place.local == true && place.automounted == false,
                "no link is read where it might hang");
        return path.size() % 2 == 0 ? std::optional(head.value(1)) : std::nullopt;
    };
    const QByteArray path = '/' + head.value(0);
    volumeProperties(path, mounts, readLink);
    require(asked <= 41 * (path.count('/') + head.value(1).count('/') + 2), "circles end");
    return 0;
}
