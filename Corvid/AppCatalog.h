#pragma once

#include "Base/Records.h"
#include "Base/TaskGroup.h"
#include "Catalog/JsonCache.h"
#include "Platform/DesktopEntries.h"
#include "Platform/Workspace.h"
#include "RoleCatalog.h"
#include "Search/SearchIndex.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <vector>

namespace corvid {

class IconQueue;

/**
 * The installed applications and their icons. Shows the list of the last run at once, then scans
 * the machine in the background. Main thread only, and needs an event loop: scans and icons arrive
 * through it. What cannot be read is left out, a cache that cannot be read or written is none.
 * The ports and the role catalog must outlive it; the destructor waits for its background work.
 */
class AppCatalog final : public QObject {
    Q_OBJECT

public:
    AppCatalog(const Workspace &workspace, const DesktopEntries &desktopEntries,
               const RoleCatalog &roles, QObject *parent = nullptr);
    ~AppCatalog() override;

    struct Snapshot;
    using SharedSnapshot = std::shared_ptr<Snapshot>;
    /** The list of the last run, empty when there is none; its destructor waits for it. */
    using CachedList = std::future<SharedSnapshot>;

    /** Starts to read the cache. For who has something else to do before load(); any thread, and
        needs no event loop. */
    static CachedList readCachedList();

    /** Applies the cached list, if there is one, and starts a scan, whose result is applied and
        cached. A cache too large to be waited for is applied when it is read, unless a scan was
        faster. Called again, it starts another scan; the one that ends last counts. A list in
        which a path occurs twice ends the program. */
    void load(CachedList cached = readCachedList());

    /** Sorted by name. */
    const std::vector<AppEntry> &apps() const;

    /** The names of apps(), prepared for matching; replaced with the list. */
    SearchIndex &searchIndex();

    /** The application whose path is exactly this one. */
    std::optional<AppEntry> appAtPath(const QString &path) const;

    /** Never null and never slow: while the application's own icon has not been fetched, the
        generic one, and its own is fetched next. iconArrived() tells when to ask again. */
    Image icon(const AppEntry &app);
    /** The same for any file or folder. */
    Image iconForPath(const QString &path);

    /** The icons fetched so far, by path. */
    const QHash<QString, Image> &icons() const { return icons_; }

    /** Called after each change of the list. */
    std::function<void()> onUpdate;

Q_SIGNALS:
    /** The list is another one. */
    void appsChanged();
    /** icon() and iconForPath() have a new answer for this path. */
    void iconArrived(const QString &path);

private:
    void applyCache(CachedList cached);
    void apply(SharedSnapshot snapshot);
    void discard(SharedSnapshot snapshot);
    void prewarmIcons();
    void fetchIcons(const QStringList &paths);
    void storeIcon(const QString &path, const Image &image);

    const Workspace &workspace_;
    const DesktopEntries &desktopEntries_;
    const RoleCatalog &roles_;
    SharedSnapshot snapshot_;
    quint64 generation_ = 0; // of what is shown: grows with each load() and each scan's end
    CacheWriter<AppEntry> cacheWriter_;
    QHash<QString, Image> icons_;
    QSet<QString> freshIcons_;             // paths whose icons were fetched since the last load()
    std::shared_ptr<IconQueue> iconQueue_; // shared with the task that empties it
    TaskGroup tasks_;
};

/** What the main thread installs as a whole, made in the background. */
struct AppCatalog::Snapshot {
    explicit Snapshot(std::vector<AppEntry> list);

    const std::vector<AppEntry> apps;
    SearchIndex searchIndex;            ///< follows the usage, once installed
    QHash<QString, std::size_t> byPath; ///< index into apps
};

inline const std::vector<AppEntry> &AppCatalog::apps() const {
    return snapshot_->apps;
}

inline SearchIndex &AppCatalog::searchIndex() {
    return snapshot_->searchIndex;
}

} // namespace corvid
