#include "Platform/Linux/Launching/AppImages.h"

#include "Base/FolderNames.h"
#include "Base/Locations.h"
#include "Base/Text.h"
#include "Platform/Linux/MountedVolumes.h"

#include <QCollator>
#include <QFileInfo>
#include <QRegularExpression>

#include <map>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto suffix = ".AppImage"_L1;

QString baseName(const QString &path) {
    return QFileInfo(path).completeBaseName();
}

} // namespace

bool isAppImage(const QString &path) {
    return path.endsWith(suffix, Qt::CaseInsensitive);
}

QString appImageName(const QString &path) {
    // A version has a dot, a "v" before it or the length of a date; a commit has a digit.
    static const QRegularExpression technicality(
        u"[-_+ .(]+"
        "(v?\\d+(\\.\\d+)+[a-z]*\\d*|v\\d+|\\d{4,}|(?=[a-f]*\\d)[\\da-f]{7,40}"
        "|x86|x64|x86_64|amd64|i[3-6]86|ia32|aarch64|arm64|armhf|armv[67]l?|linux|linux64)"
        "(?![^-_+ .()])"_s,
        QRegularExpression::CaseInsensitiveOption);
    const QString base = baseName(path);
    const qsizetype end = base.indexOf(technicality, 1);
    return nameFrom(end < 0 ? base : base.left(end));
}

QString appImageId(const QString &path) {
    return "appimage."_L1 + appImageName(path);
}

QStringList appImageFolders() {
    const QString home = locations::home();
    const MountedVolumes volumes;
    const VolumeProperties homeVolume = volumes.properties(home);
    QStringList folders;
    for (const auto name : {"/Applications"_L1, "/AppImages"_L1, "/.local/bin"_L1, "/Downloads"_L1})
        if (volumes.properties(home + name) == homeVolume)
            folders.append(home + name);
    return folders;
}

std::vector<DesktopEntry> appImages(const QStringList &folders, const QSet<QString> &launched) {
    QSet<QString> launchedFiles;
    for (const QString &program : launched)
        launchedFiles.insert(program.contains(u'/') ? QFileInfo(program).canonicalFilePath()
                                                    : program);
    QCollator versions(QLocale::English);
    versions.setNumericMode(true);
    std::map<QString, QString> newest; // path by id
    for (const QString &folder : folders) {
        for (const QString &name : namesInFolder(folder)) {
            const QString path = folder + u'/' + name;
            const QFileInfo file(path);
            if (name.startsWith(u'.') || !name.endsWith(suffix, Qt::CaseInsensitive) ||
                file.isSymLink() || !file.isFile() || !file.isExecutable())
                continue;
            if (launchedFiles.contains(name) ||
                launchedFiles.contains(QFileInfo(path).canonicalFilePath()))
                continue;
            const auto [known, isNew] = newest.try_emplace(appImageId(path), path);
            if (!isNew && versions.compare(baseName(known->second), baseName(path)) < 0)
                known->second = path;
        }
    }
    std::vector<DesktopEntry> entries;
    for (const auto &[id, path] : newest) {
        const QString name = appImageName(path);
        entries.push_back({id, path, name, name, {}, name, {}});
    }
    return entries;
}

} // namespace corvid
