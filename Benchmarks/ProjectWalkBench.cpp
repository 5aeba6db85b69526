// Walks a tree of 200,000 entries and 2,000 projects, and beside it walks the same folders by
// getdents alone: the floor under any such walk. One thread each, in turns, on a warm cache.

#include "Catalog/ProjectScan.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

// 25,010 entries below each root: the budget of a root is never met.
constexpr int roots = 8;
constexpr int groupsPerRoot = 10;
constexpr int projectsPerGroup = 25;
constexpr int sourceFoldersPerProject = 8;
constexpr int rounds = 25;

class UnknownVolumes final : public Volumes {
public:
    VolumeProperties properties(const QString &) const override { return {}; }
};

[[noreturn]] void fail(const std::string &what) {
    std::perror(what.c_str());
    std::exit(1);
}

void makeFolder(const std::string &path) {
    if (mkdir(path.c_str(), 0700) != 0)
        fail(path);
}

void makeFiles(const std::string &folder, const std::string &blank, int count) {
    // Links to one empty file: entries like any other, made without an inode for each.
    for (int i = 0; i < count; ++i) {
        const std::string path = folder + "/module_" + std::to_string(i) + ".cpp";
        if (link(blank.c_str(), path.c_str()) != 0)
            fail(path);
    }
}

/** One project: 99 entries below its folder, of which 13 are folders, and a hidden ".git". */
void makeProject(const std::string &project) {
    makeFolder(project);
    makeFolder(project + "/.git");
    const std::string blank = project + "/package.json";
    const int file = creat(blank.c_str(), 0600);
    if (file < 0)
        fail(blank);
    close(file);
    makeFiles(project, blank, 9);
    for (const char *heavy : {"/node_modules", "/build", "/Tool.app"})
        makeFolder(project + heavy);
    makeFolder(project + "/docs");
    makeFolder(project + "/src");
    for (int i = 0; i < sourceFoldersPerProject; ++i) {
        const std::string folder = project + "/src/part" + std::to_string(i);
        makeFolder(folder);
        makeFiles(folder, blank, 9);
    }
    makeFiles(project + "/docs", blank, 4);
}

QStringList makeTree(const std::string &top) {
    QStringList paths;
    for (int r = 0; r < roots; ++r) {
        const std::string root = top + "/root" + std::to_string(r);
        makeFolder(root);
        paths.append(QString::fromStdString(root));
        for (int g = 0; g < groupsPerRoot; ++g) {
            const std::string group = root + "/group" + std::to_string(g);
            makeFolder(group);
            for (int p = 0; p < projectsPerGroup; ++p)
                makeProject(group + "/project" + std::to_string(g * projectsPerGroup + p));
        }
    }
    return paths;
}

/** Opens the folders that a scan opens, and only counts what it sees there. */
class BareWalk {
public:
    std::int64_t entries = 0;

    void run(int folder, int depth) {
        std::vector<std::string> below;
        for (;;) {
            const ssize_t size = getdents64(folder, buffer_.data(), buffer_.size());
            if (size < 0)
                fail("getdents64");
            if (size == 0)
                break;
            for (const char *at = buffer_.data(); at < buffer_.data() + size;) {
                const auto *entry = reinterpret_cast<const dirent64 *>(at);
                at += entry->d_reclen;
                if (entry->d_name[0] == '.')
                    continue;
                ++entries;
                if (entry->d_type == DT_DIR && depth < deepestListed &&
                    !isNeverEntered(entry->d_name))
                    below.emplace_back(entry->d_name);
            }
        }
        for (const std::string &name : below) {
            const int next =
                openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (next < 0)
                fail(name);
            run(next, depth + 1);
            close(next);
        }
    }

private:
    std::vector<char> buffer_ = std::vector<char>(64 * 1024);
};

std::int64_t bareWalk(const QStringList &paths) {
    BareWalk walk;
    for (const QString &path : paths) {
        const int folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY);
        if (folder < 0)
            fail(path.toStdString());
        walk.run(folder, 0);
        close(folder);
    }
    return walk.entries;
}

double milliseconds(const QElapsedTimer &timer) {
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

} // namespace

int main() {
    const QTemporaryDir top;
    const QStringList paths = makeTree(top.path().toStdString());
    const UnknownVolumes volumes;

    std::int64_t entries = bareWalk(paths);
    std::size_t projects = scan(paths, volumes).size();
    std::vector<double> ours;
    std::vector<double> floor;
    QElapsedTimer timer;
    for (int round = 0; round < rounds; ++round) {
        timer.start();
        entries = bareWalk(paths);
        floor.push_back(milliseconds(timer));
        timer.start();
        projects = scan(paths, volumes).size();
        ours.push_back(milliseconds(timer));
    }
    std::printf("{\"entries\": %lld, \"projects\": %zu, \"ours\": %.1f, \"floor\": %.1f}\n",
                static_cast<long long>(entries), projects, median(ours), median(floor));
}
