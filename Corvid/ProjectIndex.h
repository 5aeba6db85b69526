#pragma once

#include "Catalog/ScannedList.h"
#include "Platform/UserDefaults.h"
#include "Platform/Volumes.h"

#include <QObject>

#include <functional>
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

    using List = ScannedList<ProjectEntry>;

public:
    /** Both references outlive the index. The volumes are asked on any thread. */
    ProjectIndex(const UserDefaults &defaults, const Volumes &volumes, QObject *parent = nullptr);

    /** The present list. Valid until the next replacement. */
    const std::vector<ProjectEntry> &projects() const { return list_->records; }

    /** The names of projects(), prepared for matching; replaced with the list. */
    SearchIndex &searchIndex() { return list_->searchIndex; }

    /** True from load() until a scan's result is shown. */
    bool scanning() const { return scanning_; }

    /** Called after each replacement of the list, by the cache or by a scan; must not destroy the
        index. */
    std::function<void()> onUpdate;

    /** The folders that a scan starts from: those that the user has stored, exactly as stored,
        otherwise those of the default ones that exist, be it in other letter case where there is
        one such folder alone. Paths; possibly none. */
    QStringList roots() const;

    /** Where projects were looked for, as a sentence, for somebody who misses them. Absent while
        there are any or a scan is under way. */
    std::optional<QString> whyThereAreNone() const;

    using CachedList = List::Cached;

    /** Starts to read the cache, for a caller that has something else to do before load(). Any
        thread, and needs no event loop. */
    static CachedList readCachedList(std::function<void()> before = [] {}) {
        return List::readCache(std::move(before));
    }

    /** Shows the cached list if there is one, then starts a scan and returns. A cache too large to
        be waited for is shown when it is read, unless a scan was faster. May be called again at
        any time: scans overlap, and the list is that of the scan that ends last. */
    void load(CachedList cached = readCachedList());

    /** Scans again at low priority, from the roots() of now; the list is replaced, and cached, only
        when something else was found. Returns false, and does nothing, while a scan is under way.
        scanning() does not tell of it. */
    bool refresh();

Q_SIGNALS:
    void projectsChanged();
    void scanningChanged();

private:
    List::Scan scanOfRoots() const;
    void setScanning(bool scanning);

    const UserDefaults &defaults_;
    const Volumes &volumes_;
    bool scanning_ = false;
    List list_;
};

} // namespace corvid
