#include "Platform/Linux/MountedVolumes.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QHash>
#include <QTemporaryDir>

#include <random>
#include <string>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr VolumeProperties localVolume{.local = true, .automounted = false};
constexpr VolumeProperties networkVolume{.local = false, .automounted = false};
constexpr VolumeProperties unknownVolume{};

/** A file system on which the given links are all that exists; it records what was looked at. */
struct Links {
    QHash<QByteArray, QByteArray> targets;
    mutable QList<QByteArray> asked;

    ReadLink reader() const {
        return [this](const QByteArray &path) -> std::optional<QByteArray> {
            asked.append(path);
            const auto found = targets.constFind(path);
            return found == targets.constEnd() ? std::nullopt : std::optional(*found);
        };
    }
};

const std::vector<Mount> home{
    {1, 0, "/", "ext4"},      {2, 1, "/home", "btrfs"},     {3, 2, "/home/x/remote", "nfs4"},
    {4, 1, "/net", "autofs"}, {5, 4, "/net/server", "nfs"},
};

VolumeProperties propertiesOf(const QByteArray &path, const std::vector<Mount> &mounts,
                              const Links &links = {}) {
    return volumeProperties(path, mounts, links.reader());
}

VolumeProperties propertiesOfType(const QByteArray &fileSystem) {
    return propertiesOf("/v/x", {{1, 0, "/", "ext4"}, {2, 1, "/v", fileSystem}});
}

} // namespace

// The table

TEST(MountedVolumes, aLineOfTheTableIsRead) {
    EXPECT_EQ(parseMounts("36 35 98:0 /mnt1 /mnt/parent rw,noatime master:1 - ext3 /dev/root "
                          "rw,errors=continue\n"),
              (std::vector<Mount>{{36, 35, "/mnt/parent", "ext3"}}));
}

TEST(MountedVolumes, thereMayBeNoOptionalFieldOrSeveral) {
    EXPECT_EQ(parseMounts("1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
                          "2 1 0:5 / /a rw shared:3 master:1 propagate_from:2 - tmpfs none rw"),
              (std::vector<Mount>{{1, 0, "/", "ext4"}, {2, 1, "/a", "tmpfs"}}));
}

TEST(MountedVolumes, escapedCharactersInAMountPointAreRead) {
    EXPECT_EQ(parseMounts(R"(7 1 0:9 / /a\040b\011c\012d\134e\043 rw - nfs s:/ rw)"),
              (std::vector<Mount>{{7, 1, "/a b\tc\nd\\e#", "nfs"}}));
    EXPECT_EQ(parseMounts(R"(7 1 0:9 / /a\9\04 rw - nfs s:/ rw)"),
              (std::vector<Mount>{{7, 1, R"(/a\9\04)", "nfs"}}))
        << "what is no escape stays";
}

TEST(MountedVolumes, linesThatAreNoneAreLeftOut) {
    EXPECT_TRUE(parseMounts("").empty());
    for (const char *line :
         {"\n\n", "36", "36 35 98:0 / /a rw", "36 35 98:0 / /a rw -",
          "x 35 98:0 / /a rw - ext4 d o", "36 y 98:0 / /a rw - ext4 d o",
          "36 35 98:0 / a rw - ext4 d o", "36 35 98:0 / /a rw -  d o", "- - - - - - -"})
        EXPECT_TRUE(parseMounts(line).empty()) << line;
}

TEST(MountedVolumes, anyBytesAreSurvived) {
    std::mt19937 random(11);
    const std::string alphabet = "0123 \\/-\n.:ab\xff";
    for (int round = 0; round < 2'000; ++round) {
        QByteArray bytes;
        for (auto length = random() % 200; length > 0; --length)
            bytes.append(alphabet[random() % alphabet.size()]);
        const std::vector<Mount> mounts = parseMounts(bytes);
        for (const Mount &mount : mounts)
            EXPECT_TRUE(mount.mountPoint.startsWith('/'));
        propertiesOf("/a/b/../" + bytes, mounts);
    }
}

// Which mount a path lies on

TEST(MountedVolumes, aPathLiesOnTheMountOfTheLongestMatchingFolder) {
    EXPECT_EQ(propertiesOf("/home/x/Code", home), localVolume);
    EXPECT_EQ(propertiesOf("/home/x/remote/Code", home), networkVolume);
    EXPECT_EQ(propertiesOf("/home/x/remote", home), networkVolume) << "the mount point itself";
    EXPECT_EQ(propertiesOf("/", home), localVolume);
}

TEST(MountedVolumes, aMountPointMatchesWholeComponentsOnly) {
    EXPECT_EQ(propertiesOf("/home/x/remote2/Code", home), localVolume);
    EXPECT_EQ(propertiesOf("/home/x/remot", home), localVolume);
}

TEST(MountedVolumes, slashesAndDotsInAPathChangeNothing) {
    EXPECT_EQ(propertiesOf("//home/./x//remote/", home), networkVolume);
    EXPECT_EQ(propertiesOf("/home/x/remote/../Code", home), localVolume);
    EXPECT_EQ(propertiesOf("/../../home/x/remote", home), networkVolume);
}

TEST(MountedVolumes, ofMountsOnTheSamePointTheOneOnTopCounts) {
    const std::vector<Mount> mounts{
        {3, 2, "/v", "nfs"}, {1, 0, "/", "ext4"}, {2, 1, "/v", "ext4"}, {4, 3, "/v", "xfs"}};
    EXPECT_EQ(propertiesOf("/v/x", mounts), localVolume);
}

TEST(MountedVolumes, aMountBelowACoveredFolderDoesNotCount) {
    const std::vector<Mount> mounts{
        {1, 0, "/", "ext4"}, {2, 1, "/v", "ext4"}, {3, 2, "/v/far", "nfs"}, {4, 2, "/v", "ext4"}};
    EXPECT_EQ(propertiesOf("/v/far/x", mounts), localVolume);
}

TEST(MountedVolumes, withoutAMountThatCoversThePathNothingIsKnown) {
    EXPECT_EQ(propertiesOf("/home/x", {}), unknownVolume);
    EXPECT_EQ(propertiesOf("/home/x", {{2, 1, "/proc", "proc"}}), unknownVolume);
}

TEST(MountedVolumes, aTableWithoutTheTopmostMountStillTellsOfThoseBelow) {
    EXPECT_EQ(propertiesOf("/v/x", {{2, 1, "/v", "nfs"}}), networkVolume);
}

// Kinds of file systems

TEST(MountedVolumes, networkFileSystemsAreNotLocal) {
    for (const char *type :
         {"nfs", "nfs4", "cifs", "smb3", "smbfs", "afs", "ceph", "glusterfs", "fuse.sshfs",
          "fuse.rclone", "fuse.glusterfs", "fuse.gvfsd-fuse", "davfs", "lustre", "coda"})
        EXPECT_EQ(propertiesOfType(type), networkVolume) << type;
}

TEST(MountedVolumes, fileSystemsOfThisMachineAreLocal) {
    for (const char *type : {"ext4", "btrfs", "xfs", "zfs", "tmpfs", "overlay", "fuseblk", "vfat"})
        EXPECT_EQ(propertiesOfType(type), localVolume) << type;
}

TEST(MountedVolumes, foldersSharedByAVirtualMachinesHostAreLocal) {
    EXPECT_EQ(propertiesOfType("9p"), localVolume);
    EXPECT_EQ(propertiesOfType("virtiofs"), localVolume);
}

TEST(MountedVolumes, ofAnUnknownFuseFileSystemItIsUnknownWhetherItIsLocal) {
    const VolumeProperties expected{.local = std::nullopt, .automounted = false};
    EXPECT_EQ(propertiesOfType("fuse.something"), expected);
    EXPECT_EQ(propertiesOfType("fuse"), expected);
}

// Automounters

TEST(MountedVolumes, aVolumeBelowAnAutomountersFolderIsAutomounted) {
    const VolumeProperties expected{.local = false, .automounted = true};
    EXPECT_EQ(propertiesOf("/net/server/x", home), expected);
}

TEST(MountedVolumes, anAutomountersTrapIsAutomountedBeforeAnythingIsMounted) {
    const VolumeProperties expected{.local = std::nullopt, .automounted = true};
    EXPECT_EQ(propertiesOf("/net/other/x", home), expected);
    EXPECT_EQ(propertiesOf("/net", home), expected);
}

TEST(MountedVolumes, aVolumeOnTopOfAnAutomountersTrapIsAutomounted) {
    const std::vector<Mount> mounts{
        {1, 0, "/", "ext4"}, {2, 1, "/data", "autofs"}, {3, 2, "/data", "ext4"}};
    const VolumeProperties expected{.local = true, .automounted = true};
    EXPECT_EQ(propertiesOf("/data/x", mounts), expected);
}

// Links

TEST(MountedVolumes, aLinkLeadsToTheVolumeOfItsTarget) {
    Links links;
    links.targets["/home/x/Code"] = "/net/server/code";
    links.targets["/home/x/near"] = "remote/code";
    links.targets["/home/x/up"] = "../../srv";
    EXPECT_EQ(propertiesOf("/home/x/Code/web", home, links),
              (VolumeProperties{.local = false, .automounted = true}));
    EXPECT_EQ(propertiesOf("/home/x/near", home, links), networkVolume);
    EXPECT_EQ(propertiesOf("/home/x/up/web", home, links), localVolume);
}

TEST(MountedVolumes, aLinkMayLeadToALink) {
    Links links;
    links.targets["/a"] = "b/c";
    links.targets["/b"] = "/home/x";
    links.targets["/home/x/c"] = "remote";
    EXPECT_EQ(propertiesOf("/a", home, links), networkVolume);
}

TEST(MountedVolumes, ofLinksInACircleNothingIsKnown) {
    Links links;
    links.targets["/a"] = "/b";
    links.targets["/b"] = "/a";
    EXPECT_EQ(propertiesOf("/a/x", home, links), unknownVolume);
}

TEST(MountedVolumes, nothingAtOrBelowARemoteOrAutomountedMountIsTouched) {
    const Links links;
    propertiesOf("/home/x/remote/a/b", home, links);
    propertiesOf("/net/server/a", home, links);
    propertiesOf("/net/other", home, links);
    EXPECT_EQ(links.asked, (QList<QByteArray>{"/home/x"})) << "mount points are no links either";
}

// This machine

TEST(MountedVolumes, theKernelsOwnTableCoversTheFileSystem) {
    const QTemporaryDir folder;
    EXPECT_EQ(MountedVolumes().properties(u"/proc/self"_s).local, true);
    EXPECT_EQ(MountedVolumes().properties(u"/proc/self"_s).automounted, false);
    EXPECT_EQ(MountedVolumes().properties(folder.path() + u"/missing/too"_s),
              MountedVolumes().properties(folder.path()));
}

TEST(MountedVolumes, realLinksAreFollowed) {
    const QTemporaryDir folder;
    if (!MountedVolumes().properties(folder.path()).local)
        GTEST_SKIP() << "here the system does not tell what volume the folder lies on";
    ASSERT_TRUE(QFile::link(u"/proc"_s, folder.filePath(u"link"_s)));
    EXPECT_EQ(MountedVolumes().properties(folder.filePath(u"link"_s)),
              MountedVolumes().properties(u"/proc"_s));
}

// Telling volumes apart

TEST(MountedVolumes, eachMountHasItsNumberAndALinkHasThatOfWhereItLeads) {
    const Links links{{{"/home/x/link", "remote/deep"}, {"/home/x/loop", "loop"}}, {}};
    const auto number = [&](const QByteArray &path) {
        return volumeNumber(path, home, links.reader());
    };
    EXPECT_EQ(number("/etc"), 1);
    EXPECT_EQ(number("/home/x"), 2);
    EXPECT_EQ(number("/home/x/remote/y"), 3);
    EXPECT_EQ(number("/home/x/link"), 3);
    EXPECT_EQ(number("/net/server/y"), 5);
    EXPECT_EQ(number("/home/x/loop"), 0);
    EXPECT_EQ(volumeNumber("/etc", {}, links.reader()), 0);
}
