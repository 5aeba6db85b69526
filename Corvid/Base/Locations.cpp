#include "Base/Locations.h"

#include <QDir>
#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace corvid::locations {

using namespace Qt::Literals::StringLiterals;

namespace {

QString withoutTrailingSlashes(QString path) {
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

QString xdgFolder(const char *variable, QLatin1StringView belowHome) {
    const QString folder = QFile::decodeName(qgetenv(variable));
    if (folder.startsWith(u'/'))
        return withoutTrailingSlashes(folder);
    return QDir(home()).filePath(belowHome);
}

QStringList xdgFolders(const char *variable, const QStringList &otherwise) {
    QStringList folders;
    for (const QString &folder : QFile::decodeName(qgetenv(variable)).split(u':')) {
        if (folder.startsWith(u'/'))
            folders.append(QDir::cleanPath(folder));
    }
    return folders.isEmpty() ? otherwise : folders;
}

} // namespace

QString home() {
    const QString fromEnvironment = QFile::decodeName(qgetenv("HOME"));
    if (!fromEnvironment.isEmpty())
        return withoutTrailingSlashes(fromEnvironment);
    const passwd *account = getpwuid(getuid());
    if (account && account->pw_dir && *account->pw_dir)
        return withoutTrailingSlashes(QFile::decodeName(account->pw_dir));
    return u"/"_s;
}

QString applicationSupport() {
    return xdgFolder("XDG_DATA_HOME", ".local/share"_L1);
}

QStringList systemData() {
    return xdgFolders("XDG_DATA_DIRS", {u"/usr/local/share"_s, u"/usr/share"_s});
}

QStringList flatpakData() {
    return {applicationSupport() + "/flatpak/exports/share"_L1,
            u"/var/lib/flatpak/exports/share"_s};
}

QString configuration() {
    return xdgFolder("XDG_CONFIG_HOME", ".config"_L1);
}

QStringList systemConfiguration() {
    return xdgFolders("XDG_CONFIG_DIRS", {u"/etc/xdg"_s});
}

QString state() {
    return xdgFolder("XDG_STATE_HOME", ".local/state"_L1);
}

QString cache() {
    return xdgFolder("XDG_CACHE_HOME", ".cache"_L1);
}

QString cacheFile(const QString &name) {
    return applicationSupport() + "/Corvid/"_L1 + name;
}

} // namespace corvid::locations
