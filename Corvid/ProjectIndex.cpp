#include "ProjectIndex.h"

#include "Base/Locations.h"
#include "Catalog/ProjectScan.h"

#include <QFileInfo>

#include <array>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array defaultRoots{"Developer"_L1, "Code"_L1, "code"_L1,  "Projects"_L1,
                                  "dev"_L1,       "src"_L1,  "Github"_L1};

QString cachePath() {
    return locations::cacheFile(u"projects.json"_s);
}

// Whoever touches a network mount whose server is gone waits for ever. Where a default root lies on
// another kind of volume than the home folder, something is there: if not more, the mount point.
bool isThere(const QString &root, const Volumes &volumes, const VolumeProperties &homeVolume) {
    return volumes.properties(root) != homeVolume || QFileInfo::exists(root);
}

// Anything but a list of strings reads as absent, i.e. as an empty list.
QStringList storedRoots(const QJsonValue &value) {
    QStringList roots;
    const QJsonArray array = value.toArray();
    for (const auto &element : array) {
        if (!element.isString())
            return {};
        roots.append(element.toString());
    }
    return roots;
}

} // namespace

ProjectIndex::ProjectIndex(const UserDefaults &defaults, const Volumes &volumes, QObject *parent)
    : QObject(parent), defaults_(defaults), volumes_(volumes), snapshot_(prepare({})) {}

QStringList ProjectIndex::roots() const {
    QStringList roots = storedRoots(defaults_.value(u"projectRoots"_s));
    if (!roots.isEmpty())
        return roots;
    const QString home = locations::home();
    const VolumeProperties homeVolume = volumes_.properties(home);
    for (const QLatin1StringView name : defaultRoots) {
        const QString path = home + u'/' + name;
        if (isThere(path, volumes_, homeVolume))
            roots.append(path);
    }
    return roots;
}

ProjectIndex::CachedList ProjectIndex::readCachedList() {
    return std::async(std::launch::async,
                      [path = cachePath()] { return prepare(readCache<ProjectEntry>(path)); });
}

void ProjectIndex::load(CachedList cached) {
    ++generation_;
    showCache(std::move(cached));
    setScanning(true);
    tasks_.start([this, roots = roots()](const std::stop_token &stop) {
        SharedSnapshot scanned = prepare(scan(roots, volumes_, stop));
        // Half a scan is no result; whoever asked it to stop is waiting to be destroyed.
        if (stop.stop_requested())
            return;
        QMetaObject::invokeMethod(
            this, [this, scanned = std::move(scanned)] { finish(scanned); }, Qt::QueuedConnection);
    });
}

ProjectIndex::SharedSnapshot ProjectIndex::prepare(std::vector<ProjectEntry> projects) {
    auto searchIndex = std::make_shared<SearchIndex>(projects);
    return std::make_shared<const Snapshot>(Snapshot{std::move(projects), std::move(searchIndex)});
}

void ProjectIndex::showCache(CachedList cached) {
    const auto show = [this](SharedSnapshot list) {
        if (list->projects.empty())
            return;
        install(std::move(list));
        if (onUpdate)
            onUpdate();
    };
    if (isQuickToRead(cachePath())) {
        show(cached.get());
        return;
    }
    tasks_.start(
        [=, this, generation = generation_,
         reading = std::make_shared<CachedList>(std::move(cached))](const std::stop_token &) {
            QMetaObject::invokeMethod(
                this,
                [=, this, list = reading->get()]() mutable {
                    if (generation == generation_)
                        show(std::move(list));
                    else
                        discard(std::move(list));
                },
                Qt::QueuedConnection);
        });
}

void ProjectIndex::install(SharedSnapshot snapshot) {
    discard(std::exchange(snapshot_, std::move(snapshot)));
    Q_EMIT projectsChanged();
}

// Taking a long list apart takes long, too.
void ProjectIndex::discard(SharedSnapshot snapshot) {
    tasks_.start([snapshot = std::move(snapshot)](const std::stop_token &) {});
}

void ProjectIndex::finish(const SharedSnapshot &snapshot) {
    ++generation_;
    install(snapshot);
    setScanning(false);
    if (onUpdate)
        onUpdate();
    cacheWriter_.write(tasks_, cachePath(), {snapshot, &snapshot->projects});
}

void ProjectIndex::setScanning(bool scanning) {
    if (scanning == scanning_)
        return;
    scanning_ = scanning;
    Q_EMIT scanningChanged();
}

} // namespace corvid
