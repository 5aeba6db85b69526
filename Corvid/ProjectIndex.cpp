#include "ProjectIndex.h"

#include "Base/Settings.h"
#include "Base/Text.h"
#include "Catalog/ProjectScan.h"
#include "Search/QueryRows.h"

#include <QFileInfo>

#include <array>
#include <filesystem>
#include <system_error>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array defaultRootNames{"Developer"_L1, "Code"_L1, "code"_L1,  "Projects"_L1,
                                      "dev"_L1,       "src"_L1,  "Github"_L1};

// Whoever touches a network mount whose server is gone waits for ever. A default root on another
// kind of volume than the home folder counts as there: it is a mount point, if nothing more.
bool isThere(const QString &root, const Volumes &volumes, const VolumeProperties &homeVolume) {
    return volumes.properties(root) != homeVolume || QFileInfo::exists(root);
}

// Reads the names alone and touches nothing that bears them.
QStringList namesIn(const QString &folder) {
    namespace fs = std::filesystem;
    QStringList names;
    std::error_code error;
    for (fs::directory_iterator entry(QFile::encodeName(folder).toStdString(), error), end;
         !error && entry != end; entry.increment(error))
        names.append(QFile::decodeName(entry->path().filename().c_str()));
    return names;
}

// The one name among these that a volume without letter case would take for this one. Empty where
// there is none, or more than one: then nobody knows which is meant.
QString inOtherCase(QLatin1StringView name, const QStringList &names) {
    QString found;
    for (const QString &other : names) {
        if (other.compare(name, Qt::CaseInsensitive) != 0)
            continue;
        if (!found.isEmpty())
            return {};
        found = other;
    }
    return found;
}

QStringList defaultRoots(const Volumes &volumes) {
    const QString home = locations::home();
    const VolumeProperties homeVolume = volumes.properties(home);
    std::optional<QStringList> names;
    QStringList roots;
    for (const QLatin1StringView defaultName : defaultRootNames) {
        QString name = defaultName;
        if (!isThere(home + u'/' + name, volumes, homeVolume)) {
            if (!names)
                names = namesIn(home);
            name = inOtherCase(defaultName, *names);
        }
        const QString path = home + u'/' + name;
        // Two of the default ones differ in case alone.
        if (!name.isEmpty() && !roots.contains(path) && isThere(path, volumes, homeVolume))
            roots.append(path);
    }
    return roots;
}

// As it fits on a line of the settings; a long one gives up its middle.
QString shownPath(const QString &folder) {
    constexpr qsizetype most = 60;
    qsizetype head = 20;
    qsizetype tail = most - head - 1;
    QString path = displayLine(withHomeAsTilde(folder));
    if (path.size() <= most)
        return path;
    // Not between the halves of a character.
    head -= path.at(head - 1).isHighSurrogate() ? 1 : 0;
    tail -= path.at(path.size() - tail).isLowSurrogate() ? 1 : 0;
    return path.first(head) + u'…' + path.last(tail);
}

// As people enumerate them, the last ones by their number alone where they are many.
QString enumerated(QStringList folders, const QString &conjunction) {
    constexpr qsizetype most = 7;
    for (QString &folder : folders)
        folder = shownPath(folder);
    QString last = folders.last();
    if (folders.size() > most) {
        last = u"%1 more"_s.arg(folders.size() - most + 1);
        folders.resize(most);
    }
    folders.removeLast();
    return folders.isEmpty() ? last : folders.join(u", "_s) + conjunction + last;
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

std::optional<QString> ProjectIndex::whyThereAreNone() const {
    if (scanning_ || !projects().empty())
        return std::nullopt;
    if (const QStringList searched = roots(); !searched.isEmpty())
        return u"No projects were found in %1."_s.arg(enumerated(searched, u" and "_s));
    QStringList names;
    for (const QLatin1StringView name : defaultRootNames)
        names.append(locations::home() + u'/' + name);
    return u"No projects: there is no %1."_s.arg(enumerated(names, u" or "_s));
}

void ProjectIndex::load(CachedList cached) {
    list_.showCached(std::move(cached));
    setScanning(true);
    list_.start(scanOfRoots());
}

bool ProjectIndex::refresh() {
    return list_.refresh(scanOfRoots());
}

// Whoever is waiting or typing does not wait for a look at the disk.
ProjectIndex::List::Scan ProjectIndex::scanOfRoots() const {
    return [&volumes = volumes_, stored = settings::projectRoots(defaults_)](const auto &stop) {
        return scan(stored.isEmpty() ? defaultRoots(volumes) : stored, volumes, stop);
    };
}

void ProjectIndex::setScanning(bool scanning) {
    if (scanning == scanning_)
        return;
    scanning_ = scanning;
    Q_EMIT scanningChanged();
}

} // namespace corvid
