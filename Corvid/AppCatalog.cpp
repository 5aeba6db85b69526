#include "AppCatalog.h"

#include "Catalog/ApplicationScan.h"
#include "Catalog/IconQueue.h"

#include <algorithm>

namespace corvid {

AppCatalog::Snapshot::Snapshot(std::vector<AppEntry> list)
    : records(std::move(list)), searchIndex(records) {
    QSet<QString> paths;
    paths.reserve(static_cast<qsizetype>(records.size()));
    for (const AppEntry &app : records) {
        if (paths.contains(app.path))
            qFatal("Duplicate values for key: '%s'", qUtf8Printable(app.path));
        paths.insert(app.path);
    }
}

AppCatalog::AppCatalog(const Workspace &workspace, const DesktopEntries &desktopEntries,
                       const RoleCatalog &roles, QObject *parent)
    : QObject(parent), workspace_(workspace), desktopEntries_(desktopEntries), roles_(roles),
      list_([this](List::Source) {
          prewarmIcons();
          Q_EMIT appsChanged();
          if (onUpdate)
              onUpdate();
      }) {}

AppCatalog::~AppCatalog() = default;

void AppCatalog::load(CachedList cached) {
    freshIcons_.clear();
    list_.showCached(std::move(cached));
    list_.start([this, home = locations::home()](const std::stop_token &stop) {
        return scanAll({bundleFolders(home), desktopEntries_.list(), roles_}, stop);
    });
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
