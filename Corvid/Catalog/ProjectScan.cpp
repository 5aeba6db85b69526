#include "Catalog/ProjectScan.h"

#include "Base/FileDescriptor.h"
#include "Base/NameOrder.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Nearly all entries match no row, so the rows are grouped by what rules most of them out at once:
// an exact name by its length. The few rows that match the end of a name are tried one by one.
class MarkerLookup {
public:
    constexpr MarkerLookup() {
        for (std::size_t row = 0; row < markers.size(); ++row) {
            const std::string_view name = markers[row].name;
            const MarkerSet bit = MarkerSet{1} << row;
            if (name.starts_with('*'))
                endings_ |= bit;
            else
                exactByLength_[name.size()] |= bit;
        }
    }

    constexpr MarkerSet rowsOf(std::string_view name) const {
        MarkerSet found = 0;
        if (name.size() < exactByLength_.size()) {
            for (MarkerSet rest = exactByLength_[name.size()]; rest != 0; rest &= rest - 1) {
                if (markers[lowestRow(rest)].name == name)
                    found |= rest & -rest;
            }
        }
        for (MarkerSet rest = endings_; rest != 0; rest &= rest - 1) {
            if (name.ends_with(markers[lowestRow(rest)].name.substr(1)))
                found |= rest & -rest;
        }
        return found;
    }

private:
    static constexpr std::size_t lowestRow(MarkerSet rows) {
        return static_cast<std::size_t>(std::countr_zero(rows));
    }

    static constexpr std::size_t longestExact = 16;
    std::array<MarkerSet, longestExact + 1> exactByLength_{};
    MarkerSet endings_ = 0;
};

constexpr MarkerLookup lookup;
constexpr MarkerSet gitMarker = lookup.rowsOf(".git");

bool isFolder(const FileDescriptor &folder, const char *name, unsigned char type) {
    if (type != DT_UNKNOWN)
        return type == DT_DIR;
    // Some file systems do not say in the listing.
    struct stat status {};
    return fstatat(folder.number(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

// A symbolic link counts as what it leads to, and not at all when that is missing.
bool exists(const FileDescriptor &folder, const char *name, unsigned char type) {
    if (type != DT_LNK && type != DT_UNKNOWN)
        return true;
    return faccessat(folder.number(), name, F_OK, 0) == 0;
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

// Keeps the place of the first record of a path and the content of the last.
class Found {
public:
    void add(std::string_view path, MarkerSet rows) {
        const QString text =
            QFile::decodeName(QByteArray(path.data(), static_cast<qsizetype>(path.size())));
        // The file system's root is the one path without a last component.
        const QString name = text.size() == 1 ? text : text.mid(text.lastIndexOf(u'/') + 1);
        ProjectEntry project{name, text, detectStack(rows)};
        const auto known = indexes_.constFind(text);
        if (known != indexes_.constEnd()) {
            projects_[*known] = std::move(project);
            return;
        }
        indexes_.insert(text, projects_.size());
        projects_.push_back(std::move(project));
    }

    std::vector<ProjectEntry> take() { return std::move(projects_); }

private:
    std::vector<ProjectEntry> projects_;
    QHash<QString, std::size_t> indexes_;
};

/**
 * Walks one root. Folders wait on a stack, so whenever one is taken from it, the folders last
 * opened at each smaller depth are its ancestors: one open descriptor and one path length for each
 * depth are all the context there is, and names wait in one buffer that grows and shrinks with the
 * stack.
 */
class RootWalk {
public:
    RootWalk(Found &found, const std::stop_token &stop) : found_(found), stop_(stop) {}

    void run(const QByteArray &root) {
        if (root != "/")
            path_.assign(root.constData(), static_cast<std::size_t>(root.size()));
        enter(0, FileDescriptor(open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
        while (!waiting_.empty() && entries_ <= entryBudget && !stop_.stop_requested()) {
            const Waiting next = waiting_.back();
            waiting_.pop_back();
            const std::size_t parent = next.depth - 1;
            const char *name = names_.data() + next.name;
            path_.resize(pathLengths_[parent]);
            path_ += '/';
            path_ += name;
            FileDescriptor folder(openat(folders_[parent].number(), name,
                                         O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            names_.resize(next.name);
            enter(next.depth, std::move(folder));
        }
    }

private:
    struct Waiting {
        std::size_t depth;
        std::size_t name; // offset in names_
    };

    void enter(std::size_t depth, FileDescriptor folder) {
        if (!folder.valid())
            return;
        folders_[depth] = std::move(folder);
        pathLengths_[depth] = path_.size();
        const std::size_t waitingBefore = waiting_.size();
        const std::size_t namesBefore = names_.size();
        MarkerSet rows = 0;
        std::int64_t listed = 0;
        for (;;) {
            const ssize_t size =
                getdents64(folders_[depth].number(), listing_.data(), listing_.size());
            if (size == 0)
                break;
            if (size < 0 || stop_.stop_requested()) {
                // Half a listing is none.
                waiting_.resize(waitingBefore);
                names_.resize(namesBefore);
                return;
            }
            for (const char *at = listing_.data(); at < listing_.data() + size;) {
                const auto *entry = reinterpret_cast<const dirent64 *>(at);
                at += entry->d_reclen;
                const std::string_view name = entry->d_name;
                if (name.starts_with('.')) {
                    if (name == ".git" && exists(folders_[depth], entry->d_name, entry->d_type))
                        rows |= gitMarker;
                    continue;
                }
                ++listed;
                rows |= lookup.rowsOf(name);
                const bool mayBeFolder = entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN;
                if (depth < deepestListed && mayBeFolder && !isNeverEntered(name) &&
                    isFolder(folders_[depth], entry->d_name, entry->d_type) && hasText(name)) {
                    waiting_.push_back({depth + 1, names_.size()});
                    names_.append(name.data(), name.size() + 1); // with its final zero
                }
            }
        }
        entries_ += listed;
        if (rows != 0)
            found_.add(path_.empty() ? std::string_view("/") : path_, rows);
    }

    static constexpr std::size_t listingSize = 64 * 1024;

    Found &found_;
    const std::stop_token &stop_;
    std::vector<Waiting> waiting_;
    std::string names_;
    std::array<FileDescriptor, deepestListed + 1> folders_;
    std::array<std::size_t, deepestListed + 1> pathLengths_{};
    std::string path_; // of the folder entered last; empty for the file system's root
    std::int64_t entries_ = 0;
    std::vector<char> listing_ = std::vector<char>(listingSize);
};

} // namespace

MarkerSet markersOf(std::string_view name) {
    return lookup.rowsOf(name);
}

QStringList detectStack(MarkerSet found) {
    QStringList stacks;
    for (std::size_t row = 0; row < markers.size(); ++row) {
        const QLatin1StringView stack(markers[row].stack.data(),
                                      static_cast<qsizetype>(markers[row].stack.size()));
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
