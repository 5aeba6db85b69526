#include "Catalog/ProjectScan.h"

#include "Base/FileDescriptor.h"
#include "Base/NameOrder.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <string>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr bool matches(std::string_view name, std::string_view marker) {
    return marker.starts_with('*') ? name.ends_with(marker.substr(1)) : name == marker;
}

// Nearly every name satisfies no row, and its length alone rules most rows out.
constexpr std::size_t longestMarker = 16;

constexpr auto rowsByLength = [] {
    std::array<MarkerSet, longestMarker + 1> rows{};
    for (std::size_t row = 0; row < markers.size(); ++row) {
        const std::string_view marker = markers[row].name;
        for (std::size_t length = 0; length <= longestMarker; ++length) {
            if (marker.starts_with('*') || marker.size() == length)
                rows[length] |= MarkerSet{1} << row;
        }
    }
    return rows;
}();

bool isFolder(const FileDescriptor &parent, const dirent64 &entry) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    // Some file systems do not say in the listing.
    struct stat status {};
    return fstatat(parent.number(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

// A symbolic link counts as what it leads to, and not at all when that is missing.
bool exists(const FileDescriptor &parent, const dirent64 &entry) {
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return true;
    return faccessat(parent.number(), entry.d_name, F_OK, 0) == 0;
}

// A record's path is a string of characters. A name that is no valid UTF-8 has none that leads
// back to the same bytes, so a project of that name, or below it, could be shown but never opened.
bool hasText(std::string_view name) {
    if (std::all_of(name.begin(), name.end(), [](char c) { return (c & 0x80) == 0; }))
        return true;
    const QByteArray bytes(name.data(), static_cast<qsizetype>(name.size()));
    return QFile::encodeName(QFile::decodeName(bytes)) == bytes;
}

// The root as an absolute path without a final slash; empty when it can name no folder.
QString rootPath(const QString &root) {
    if (root.isEmpty() || root.contains(QChar(u'\0')))
        return {};
    QString path = QDir::isAbsolutePath(root) ? root : QDir::currentPath() + u'/' + root;
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return QFile::decodeName(QFile::encodeName(path)) == path ? path : QString();
}

/** The projects of all roots, each path once. */
class Found {
public:
    void add(const char *path, MarkerSet rows) {
        const QString text = QFile::decodeName(path);
        if (paths_.contains(text))
            return;
        paths_.insert(text);
        // The file system's root is the one path without a last component.
        const QString name = text.size() == 1 ? text : text.section(u'/', -1);
        projects_.push_back({name, text, detectStack(rows)});
    }

    std::vector<ProjectEntry> take() { return std::move(projects_); }

private:
    std::vector<ProjectEntry> projects_;
    QSet<QString> paths_;
};

/** Walks one root. */
class RootWalk {
public:
    RootWalk(Found &found, const std::stop_token &stop) : found_(found), stop_(stop) {}

    void run(const QByteArray &root) {
        path_ = root == "/" ? std::string() : root.toStdString();
        enter(AT_FDCWD, root.constData(), 0, 0);
    }

private:
    struct Listing {
        MarkerSet markers = 0;
        std::int64_t entries = 0;
        std::vector<std::string> foldersToEnter;
    };

    void note(Listing &listing, const FileDescriptor &folder, int depth, const dirent64 &entry) {
        const std::string_view name = entry.d_name;
        if (name.starts_with('.')) {
            if (name == ".git" && exists(folder, entry))
                listing.markers |= markersOf(name);
            return;
        }
        ++listing.entries;
        listing.markers |= markersOf(name);
        if (depth < deepestListed && isFolder(folder, entry) && !isNeverEntered(name) &&
            hasText(name))
            listing.foldersToEnter.emplace_back(name);
    }

    // Absent when it could not be read to the end.
    std::optional<Listing> list(const FileDescriptor &folder, int depth) {
        Listing listing;
        while (!stop_.stop_requested()) {
            const ssize_t size = getdents64(folder.number(), buffer_.data(), buffer_.size());
            if (size == 0)
                return listing;
            if (size < 0)
                break;
            for (const char *at = buffer_.data(); at < buffer_.data() + size;) {
                const auto *entry = reinterpret_cast<const dirent64 *>(at);
                at += entry->d_reclen;
                note(listing, folder, depth, *entry);
            }
        }
        return std::nullopt;
    }

    void enter(int parent, const char *name, int flags, int depth) {
        const FileDescriptor folder(
            openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
        const auto listing = folder.valid() ? list(folder, depth) : std::nullopt;
        if (!listing)
            return;
        entries_ += listing->entries;
        if (listing->markers != 0)
            found_.add(path_.empty() ? "/" : path_.c_str(), listing->markers);
        const std::size_t length = path_.size();
        for (const std::string &next : listing->foldersToEnter) {
            if (entries_ > entryBudget || stop_.stop_requested())
                return;
            path_ += '/';
            path_ += next;
            enter(folder.number(), next.c_str(), O_NOFOLLOW, depth + 1);
            path_.resize(length);
        }
    }

    static constexpr std::size_t bufferSize = 64 * 1024;

    Found &found_;
    const std::stop_token &stop_;
    std::string path_; // of the folder being entered; empty for the file system's root
    std::int64_t entries_ = 0;
    std::vector<char> buffer_ = std::vector<char>(bufferSize);
};

} // namespace

MarkerSet markersOf(std::string_view name) {
    MarkerSet found = 0;
    // What is longer than all exact names can only end like one of the others.
    for (MarkerSet rest = rowsByLength[std::min(name.size(), longestMarker)]; rest != 0;
         rest &= rest - 1) {
        const int row = std::countr_zero(rest);
        found |= MarkerSet{matches(name, markers[static_cast<std::size_t>(row)].name)} << row;
    }
    return found;
}

QStringList detectStack(MarkerSet found) {
    QStringList stacks;
    for (std::size_t row = 0; row < markers.size(); ++row) {
        const QString stack = QString::fromUtf8(markers[row].stack);
        if ((found >> row & 1) != 0 && !stacks.contains(stack))
            stacks.append(stack);
    }
    return stacks;
}

bool isNeverEntered(std::string_view name) {
    return name.starts_with('.') || name.ends_with(".app") ||
           std::find(skipDirs.begin(), skipDirs.end(), name) != skipDirs.end();
}

std::vector<ProjectEntry> scan(const QStringList &roots, const Volumes &volumes,
                               const std::stop_token &stop) {
    Found found;
    for (const QString &root : roots) {
        if (stop.stop_requested())
            break;
        const QString path = rootPath(root);
        if (path.isEmpty())
            continue;
        const VolumeProperties volume = volumes.properties(path);
        if (volume.local == false || volume.automounted == true)
            continue;
        RootWalk(found, stop).run(QFile::encodeName(path));
    }
    std::vector<ProjectEntry> projects = found.take();
    sortByName(projects);
    return projects;
}

} // namespace corvid
