#include "AppCatalog.h"

#include "Base/Locations.h"
#include "Catalog/ApplicationScan.h"

#include <QStringList>

#include <mutex>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

/** The paths whose icons one task fetches, in their order except that urgent ones go first. Each
    path is handed out once. Any thread. */
class IconQueue {
public:
    explicit IconQueue(QStringList paths) : paths_(std::move(paths)) {}

    /** False when the task has run out of paths and fetches no more. */
    bool fetchNext(const QString &path) {
        const std::scoped_lock lock(mutex_);
        if (ended_)
            return false;
        // Asked at every key stroke for every row whose icon has not arrived yet.
        if (!asked_.contains(path)) {
            asked_.insert(path);
            urgent_.append(path);
        }
        return true;
    }

    std::optional<QString> take() {
        const std::scoped_lock lock(mutex_);
        while (!ended_) {
            QString path;
            if (!urgent_.isEmpty())
                path = urgent_.takeFirst();
            else if (next_ < paths_.size())
                path = paths_[next_++];
            else
                break;
            if (taken_.contains(path))
                continue;
            taken_.insert(path);
            return path;
        }
        ended_ = true;
        return std::nullopt;
    }

    void end() {
        const std::scoped_lock lock(mutex_);
        ended_ = true;
    }

private:
    std::mutex mutex_;
    const QStringList paths_;
    qsizetype next_ = 0;
    QStringList urgent_;
    QSet<QString> asked_; ///< what ever was urgent
    QSet<QString> taken_;
    bool ended_ = false;
};

namespace {

QString cachePath() {
    return locations::cacheFile(u"catalog.json"_s);
}

} // namespace

AppCatalog::Snapshot::Snapshot(std::vector<AppEntry> list)
    : apps(std::move(list)), searchIndex(apps) {
    byPath.reserve(static_cast<qsizetype>(apps.size()));
    for (std::size_t i = 0; i < apps.size(); ++i) {
        if (byPath.contains(apps[i].path))
            qFatal("Duplicate values for key: '%s'", qUtf8Printable(apps[i].path));
        byPath.insert(apps[i].path, i);
    }
}

AppCatalog::AppCatalog(const Workspace &workspace, const DesktopEntries &desktopEntries,
                       const RoleCatalog &roles, QObject *parent)
    : QObject(parent), workspace_(workspace), desktopEntries_(desktopEntries), roles_(roles),
      snapshot_(std::make_shared<Snapshot>(std::vector<AppEntry>())) {}

AppCatalog::~AppCatalog() = default;

AppCatalog::CachedList AppCatalog::readCachedList() {
    return std::async(std::launch::async, [path = cachePath()] {
        return std::make_shared<Snapshot>(readCache<AppEntry>(path));
    });
}

void AppCatalog::load(CachedList cached) {
    freshIcons_.clear();
    ++generation_;
    applyCache(std::move(cached));
    tasks_.start([this, home = locations::home()](const std::stop_token &stop) {
        std::vector<AppEntry> apps =
            scanAll({bundleFolders(home), desktopEntries_.list(), roles_}, stop);
        if (stop.stop_requested())
            return;
        const auto scanned = std::make_shared<Snapshot>(std::move(apps));
        QMetaObject::invokeMethod(
            this,
            [this, scanned] {
                ++generation_;
                apply(scanned);
                cacheWriter_.write(tasks_, cachePath(), {scanned, &scanned->apps});
            },
            Qt::QueuedConnection);
    });
}

void AppCatalog::applyCache(CachedList cached) {
    if (isQuickToRead(cachePath())) {
        if (SharedSnapshot list = cached.get(); !list->apps.empty())
            apply(std::move(list));
        return;
    }
    tasks_.start(
        [this, generation = generation_,
         reading = std::make_shared<CachedList>(std::move(cached))](const std::stop_token &) {
            QMetaObject::invokeMethod(
                this,
                [this, generation, list = reading->get()]() mutable {
                    if (generation == generation_ && !list->apps.empty())
                        apply(std::move(list));
                    else
                        discard(std::move(list));
                },
                Qt::QueuedConnection);
        });
}

std::optional<AppEntry> AppCatalog::appAtPath(const QString &path) const {
    const auto index = snapshot_->byPath.constFind(path);
    if (index == snapshot_->byPath.cend())
        return std::nullopt;
    return apps()[*index];
}

Image AppCatalog::icon(const AppEntry &app) {
    return iconForPath(app.path);
}

Image AppCatalog::iconForPath(const QString &path) {
    if (const auto known = icons_.constFind(path); known != icons_.cend())
        return *known;
    if (!iconQueue_ || !iconQueue_->fetchNext(path))
        fetchIcons({path});
    return workspace_.genericIcon();
}

void AppCatalog::apply(SharedSnapshot snapshot) {
    discard(std::exchange(snapshot_, std::move(snapshot)));
    prewarmIcons();
    Q_EMIT appsChanged();
    if (onUpdate)
        onUpdate();
}

// Taking a long list apart takes long, too.
void AppCatalog::discard(SharedSnapshot snapshot) {
    tasks_.start([snapshot = std::move(snapshot)](const std::stop_token &) {});
}

void AppCatalog::prewarmIcons() {
    QStringList paths;
    for (const AppEntry &app : apps()) {
        if (!freshIcons_.contains(app.path))
            paths.append(app.path);
    }
    fetchIcons(paths);
}

void AppCatalog::fetchIcons(const QStringList &paths) {
    if (iconQueue_)
        iconQueue_->end();
    iconQueue_ = std::make_shared<IconQueue>(paths);
    tasks_.start(
        [this, queue = iconQueue_](const std::stop_token &stop) {
            while (!stop.stop_requested()) {
                const std::optional<QString> path = queue->take();
                if (!path)
                    break;
                QMetaObject::invokeMethod(
                    this,
                    [this, path = *path, image = workspace_.icon(*path)] {
                        storeIcon(path, image);
                    },
                    Qt::QueuedConnection);
            }
        },
        TaskPriority::Utility);
}

void AppCatalog::storeIcon(const QString &path, const Image &image) {
    icons_.insert(path, image);
    freshIcons_.insert(path);
    Q_EMIT iconArrived(path);
}

} // namespace corvid
