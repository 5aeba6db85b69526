#include "ProjectIndex.h"

#include "Base/Settings.h"
#include "Catalog/ProjectScan.h"

#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Whoever touches a network mount whose server is gone waits for ever. A default root on another
// kind of volume than the home folder counts as there: it is a mount point, if nothing more.
bool isThere(const QString &root, const Volumes &volumes, const VolumeProperties &homeVolume) {
    return volumes.properties(root) != homeVolume || QFileInfo::exists(root);
}

QStringList defaultRoots(const Volumes &volumes) {
    const QString home = locations::home();
    const VolumeProperties homeVolume = volumes.properties(home);
    QStringList roots;
    for (const auto name :
         {"Developer"_L1, "Code"_L1, "code"_L1, "Projects"_L1, "dev"_L1, "src"_L1, "Github"_L1}) {
        const QString path = home + u'/' + name;
        if (isThere(path, volumes, homeVolume))
            roots.append(path);
    }
    return roots;
}

} // namespace

ProjectIndex::ProjectIndex(const UserDefaults &defaults, const Volumes &volumes, QObject *parent)
    : QObject(parent), defaults_(defaults), volumes_(volumes), list_([this](List::Source source) {
          Q_EMIT projectsChanged();
          if (source == List::Source::Scan)
              setScanning(false);
          if (onUpdate)
              onUpdate();
      }) {}

QStringList ProjectIndex::roots() const {
    const QStringList stored = settings::projectRoots(defaults_);
    return stored.isEmpty() ? defaultRoots(volumes_) : stored;
}

void ProjectIndex::load(CachedList cached) {
    list_.showCached(std::move(cached));
    setScanning(true);
    list_.start([this, roots = roots()](const std::stop_token &stop) {
        return scan(roots, volumes_, stop);
    });
}

bool ProjectIndex::refresh() {
    // Whoever is just typing does not wait for a look at the disk.
    return list_.refresh([this, stored = settings::projectRoots(defaults_)](const auto &stop) {
        return scan(stored.isEmpty() ? defaultRoots(volumes_) : stored, volumes_, stop);
    });
}

void ProjectIndex::setScanning(bool scanning) {
    if (scanning == scanning_)
        return;
    scanning_ = scanning;
    Q_EMIT scanningChanged();
}

} // namespace corvid
