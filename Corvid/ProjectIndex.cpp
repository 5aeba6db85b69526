#include "ProjectIndex.h"

#include "JsonCache.h"
#include "Locations.h"
#include "ProjectScan.h"

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
    for (const QLatin1StringView name : defaultRoots) {
        const QString path = locations::home() + u'/' + name;
        if (QFileInfo::exists(path))
            roots.append(path);
    }
    return roots;
}

void ProjectIndex::load() {
    std::vector<ProjectEntry> cached = readCache<ProjectEntry>(cachePath());
    if (!cached.empty()) {
        install(prepare(std::move(cached)));
        if (onUpdate)
            onUpdate();
    }

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
    auto searchIndex = std::make_shared<ProjectSearchIndex>(projects);
    return std::make_shared<const Snapshot>(Snapshot{std::move(projects), std::move(searchIndex)});
}

void ProjectIndex::install(SharedSnapshot snapshot) {
    snapshot_ = std::move(snapshot);
    Q_EMIT projectsChanged();
}

void ProjectIndex::finish(SharedSnapshot snapshot) {
    install(snapshot);
    setScanning(false);
    if (onUpdate)
        onUpdate();
    save(std::move(snapshot));
}

void ProjectIndex::save(SharedSnapshot snapshot) {
    if (saving_) {
        nextToSave_ = std::move(snapshot);
        return;
    }
    saving_ = true;
    tasks_.start(
        [this, path = cachePath(), snapshot = std::move(snapshot)](const std::stop_token &) {
            writeCache(path, snapshot->projects);
            QMetaObject::invokeMethod(
                this,
                [this] {
                    saving_ = false;
                    if (nextToSave_)
                        save(std::exchange(nextToSave_, nullptr));
                },
                Qt::QueuedConnection);
        });
}

void ProjectIndex::setScanning(bool scanning) {
    if (scanning == scanning_)
        return;
    scanning_ = scanning;
    Q_EMIT scanningChanged();
}

} // namespace corvid
