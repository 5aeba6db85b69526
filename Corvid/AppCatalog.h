#pragma once

#include "Catalog/ScannedList.h"
#include "Platform/DesktopEntries.h"
#include "Platform/Workspace.h"
#include "RoleCatalog.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include <functional>
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

    using List = ScannedList<AppEntry>;

public:
    AppCatalog(Workspace &workspace, const DesktopEntries &desktopEntries, const RoleCatalog &roles,
               QObject *parent = nullptr);

    using CachedList = List::Cached;

    /** Starts to read the cache, for a caller that has something else to do before load(). Any
        thread, and needs no event loop. */
    static CachedList readCachedList(std::function<void()> before = [] {}) {
        return List::readCache(std::move(before));
    }

    /** Shows the cached list, if there is one, and starts a scan, whose result is shown and cached.
        A cache too large to be waited for is shown when it is read, unless a scan was faster.
        Called again, it starts another scan; the one that ends last counts. A list in which a path
        occurs twice ends the program. */
    void load(CachedList cached = readCachedList());

    /** Scans again at low priority; the list is replaced, and cached, only when something else was
        found. Returns false, and does nothing, while a scan is under way. */
    bool refresh();

    /** Sorted by name. */
    const std::vector<AppEntry> &apps() const { return list_->records; }

    /** The names of apps(), prepared for matching; replaced with the list. */
    SearchIndex &searchIndex() { return list_->searchIndex; }

    /** The application whose path is exactly this one. */
    std::optional<AppEntry> appAtPath(const QString &path) const;

    /** Never null and never slow: while the application's own icon has not been fetched, the
        generic one, and its own is fetched next. iconArrived() tells when to ask again. */
    Image icon(const AppEntry &app) { return iconForPath(app.path); }
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
    /** A scan has ended, whatever it found; what it found is shown. */
    void scanEnded();

private:
    List::Scan scan() const;
    void prewarmIcons();
    void fetchIcons(const QStringList &paths);

    Workspace &workspace_;
    const DesktopEntries &desktopEntries_;
    const RoleCatalog &roles_;
    QHash<QString, Image> icons_;
    QSet<QString> freshIcons_;             ///< of what is listed, those fetched since load()
    std::shared_ptr<IconQueue> iconQueue_; ///< shared with the task that empties it
    List list_;
    TaskGroup tasks_;
};

} // namespace corvid
