#pragma once

#include "Base/Records.h"
#include "Base/TaskGroup.h"
#include "Catalog/JsonCache.h"
#include "Platform/UserDefaults.h"
#include "Platform/Volumes.h"
#include "Search/SearchIndex.h"

#include <QObject>

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <vector>

namespace corvid {

/**
 * The developer's projects below the root folders, sorted by name. The last scan's result is read
 * from a cache and shown at once; a scan in the background then replaces it and rewrites the cache.
 * Main thread only. Never fails: what cannot be read is not listed. Destroying it stops its scans.
 */
class ProjectIndex final : public QObject {
    Q_OBJECT

public:
    /** Both references outlive the index. The volumes are asked on any thread. */
    ProjectIndex(const UserDefaults &defaults, const Volumes &volumes, QObject *parent = nullptr);

    /** The present list. Valid until the next replacement. */
    const std::vector<ProjectEntry> &projects() const;

    /** The names of projects(), prepared for matching; replaced with the list. */
    SearchIndex &searchIndex();

    /** True from the start of a scan until a scan's result has been applied. */
    bool scanning() const { return scanning_; }

    /** Called after each replacement of the list, by the cache or by a scan; must not destroy the
        index. */
    std::function<void()> onUpdate;

    /** The folders that a scan starts from: those that the user has stored, exactly as stored,
        otherwise those of the default ones that exist. Paths; possibly none. */
    QStringList roots() const;

    struct Snapshot;
    using SharedSnapshot = std::shared_ptr<const Snapshot>;
    /** The list of the last run, empty when there is none; its destructor waits for it. */
    using CachedList = std::future<SharedSnapshot>;

    /** Starts to read the cache. For who has something else to do before load(); any thread, and
        needs no event loop. */
    static CachedList readCachedList();

    /** Shows the cached list if there is one, then starts a scan and returns. A cache too large to
        be waited for is shown when it is read, unless a scan was faster. May be called again at
        any time: scans overlap, and the list is that of the scan that ends last. */
    void load(CachedList cached = readCachedList());

Q_SIGNALS:
    void projectsChanged();
    void scanningChanged();

private:
    static SharedSnapshot prepare(std::vector<ProjectEntry> projects);
    void showCache(CachedList cached);
    void install(SharedSnapshot snapshot);
    void discard(SharedSnapshot snapshot);
    void finish(const SharedSnapshot &snapshot);
    void setScanning(bool scanning);

    const UserDefaults &defaults_;
    const Volumes &volumes_;
    SharedSnapshot snapshot_;
    bool scanning_ = false;
    quint64 generation_ = 0; ///< of what is shown: grows with each load() and each scan's end
    CacheWriter<ProjectEntry> cacheWriter_;
    TaskGroup tasks_;
};

/** What the main thread installs as a whole, made in the background. */
struct ProjectIndex::Snapshot {
    std::vector<ProjectEntry> projects;
    /** Not shared with other threads once installed, and follows the usage from then on. */
    std::shared_ptr<SearchIndex> searchIndex;
};

inline const std::vector<ProjectEntry> &ProjectIndex::projects() const {
    return snapshot_->projects;
}

inline SearchIndex &ProjectIndex::searchIndex() {
    return *snapshot_->searchIndex;
}

} // namespace corvid
