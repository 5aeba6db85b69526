#include "AppCatalog.h"

#include "Catalog/ApplicationScan.h"

#include <algorithm>
#include <mutex>

namespace corvid {

/** The paths whose icons a task fetches, in their order except that urgent ones go first. Each
    path is handed out once. Any thread. */
class IconQueue {
public:
    explicit IconQueue(QStringList paths) : paths_(std::move(paths)) {}

    /** Makes a path urgent. False when the task has run out of paths and fetches no more. */
    bool fetchNext(const QString &path) {
        const std::scoped_lock lock(mutex_);
        if (ended_)
            return false;
        // Asked at every key stroke for every row whose icon has not arrived yet.
        if (!passed_.contains(path)) {
            passed_.insert(path);
            urgent_.append(path);
        }
        return true;
    }

    /** The next path; nothing when there is none, and from then on. */
    std::optional<QString> take() {
        const std::scoped_lock lock(mutex_);
        while (!ended_ && !(urgent_.isEmpty() && paths_.isEmpty())) {
            if (!urgent_.isEmpty())
                return urgent_.takeFirst();
            QString path = paths_.takeFirst();
            if (passed_.contains(path))
                continue;
            passed_.insert(path);
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
    QStringList paths_;
    QStringList urgent_;
    QSet<QString> passed_; ///< those that are urgent or handed out
    bool ended_ = false;
};

AppCatalog::AppCatalog(Workspace &workspace, const DesktopEntries &desktopEntries,
                       const RoleCatalog &roles, QObject *parent)
    : QObject(parent), workspace_(workspace), desktopEntries_(desktopEntries), roles_(roles),
      list_(
          [this](List::Source) {
              prewarmIcons();
              Q_EMIT appsChanged();
              if (onUpdate)
                  onUpdate();
          },
          [this] { Q_EMIT scanEnded(); }) {}

void AppCatalog::load(CachedList cached) {
    freshIcons_.clear();
    list_.showCached(std::move(cached));
    list_.start(scan());
}

bool AppCatalog::refresh() {
    return list_.refresh(scan());
}

AppCatalog::List::Scan AppCatalog::scan() const {
    return [this, home = locations::home()](const std::stop_token &stop) {
        const std::vector<DesktopEntry> entries = desktopEntries_.list();
        workspace_.setEntries(entries);
        return scanAll(bundleFolders(home), entries, roles_, stop);
    };
}

std::optional<AppEntry> AppCatalog::appAtPath(const QString &path) const {
    const auto app = std::ranges::find(apps(), path, &AppEntry::path);
    return app == apps().end() ? std::nullopt : std::optional(*app);
}

Image AppCatalog::iconForPath(const QString &path) {
    if (const auto known = icons_.constFind(path); known != icons_.cend())
        return *known;
    if (!iconQueue_ || !iconQueue_->fetchNext(path))
        fetchIcons({path});
    return workspace_.genericIcon();
}

void AppCatalog::prewarmIcons() {
    QStringList paths;
    QSet<QString> known;
    for (const AppEntry &app : apps()) {
        if (known.contains(app.path))
            qFatal("Duplicate values for key: '%s'", qUtf8Printable(app.path));
        known.insert(app.path);
        if (!freshIcons_.contains(app.path))
            paths.append(app.path);
    }
    // What is taken away and installed again may look different.
    freshIcons_.intersect(known);
    fetchIcons(paths);
}

void AppCatalog::fetchIcons(const QStringList &paths) {
    if (iconQueue_)
        iconQueue_->end();
    iconQueue_ = std::make_shared<IconQueue>(paths);
    tasks_.start(
        [this, queue = iconQueue_](const std::stop_token &stop) {
            std::optional<QString> path;
            while (!stop.stop_requested() && (path = queue->take())) {
                QMetaObject::invokeMethod(
                    this,
                    [this, path = *path, image = workspace_.icon(*path)] {
                        icons_.insert(path, image);
                        freshIcons_.insert(path);
                        Q_EMIT iconArrived(path);
                    },
                    Qt::QueuedConnection);
            }
        },
        TaskPriority::Utility);
}

} // namespace corvid
