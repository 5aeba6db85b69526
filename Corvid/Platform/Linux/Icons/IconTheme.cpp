#include "Platform/Linux/Icons/IconTheme.h"

#include "Base/Locations.h"
#include "Base/RegularFile.h"

#include <QFile>
#include <QHashFunctions>

#include <algorithm>
#include <array>
#include <dirent.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int maximumDepth = 16; // of inheritance, for themes that inherit in a long circle
constexpr qint64 largestIndex = 4 * 1024 * 1024;

// In the order of preference where one folder has several.
constexpr std::array<QByteArrayView, 4> extensions{".png", ".svg", ".svgz", ".xpm"};

std::uint64_t hashOf(QByteArrayView name) {
    return qHash(name, 0);
}

// The earliest time there is where there is no such folder.
std::filesystem::file_time_type modificationTime(const QString &path) {
    std::error_code error;
    return std::filesystem::last_write_time(QFile::encodeName(path).toStdString(), error);
}

} // namespace

IconTheme::IconTheme(const QString &name, const QStringList &baseFolders,
                     const QStringList &unthemedFolders) {
    addTheme(name, baseFolders, 0);
    addTheme(u"hicolor"_s, baseFolders, 0);
    addUnthemed(baseFolders + unthemedFolders);
}

void IconTheme::addTheme(const QString &name, const QStringList &baseFolders, int depth) {
    const bool known = std::any_of(chain_.begin(), chain_.end(),
                                   [&](const Theme &theme) { return theme.name == name; });
    // The last of all themes is looked at last, whoever inherits from it.
    const bool tooEarly = depth > 0 && name == "hicolor"_L1;
    if (known || tooEarly || depth > maximumDepth || name.isEmpty() || name.contains(u'/') ||
        name == ".."_L1 || name == "."_L1)
        return;

    std::optional<IconThemeIndex> index;
    for (const QString &base : baseFolders) {
        const QString folder = base + u'/' + name;
        watched_.emplace(folder, modificationTime(folder));
        if (!index)
            if (const auto bytes = readRegularFile(folder + "/index.theme"_L1, largestIndex))
                index = parseIconThemeIndex(*bytes);
    }
    if (!index)
        return;

    Theme theme;
    theme.name = name;
    for (const auto &[folderName, properties] : index->folders)
        for (const QString &base : baseFolders)
            addFolder(theme, base + u'/' + name + u'/' + folderName, properties);
    append(std::move(theme));

    for (const QString &parent : std::as_const(index->parents))
        addTheme(parent, baseFolders, depth + 1);
}

void IconTheme::addUnthemed(const QStringList &folders) {
    Theme theme;
    for (const QString &folder : folders) {
        watched_.emplace(folder, modificationTime(folder));
        addFolder(theme, folder, {});
    }
    append(std::move(theme));
}

void IconTheme::append(Theme theme) {
    std::sort(theme.files.begin(), theme.files.end());
    theme.files.shrink_to_fit();
    chain_.push_back(std::move(theme));
}

void IconTheme::addFolder(Theme &theme, const QString &path, const IconThemeFolder &properties) {
    const auto index = static_cast<std::uint32_t>(theme.folders.size());
    theme.folders.push_back({path, properties});
    DIR *stream = opendir(QFile::encodeName(path).constData());
    if (!stream)
        return;
    while (const dirent *entry = readdir(stream)) {
        const QByteArrayView name(entry->d_name);
        for (std::size_t i = 0; i < extensions.size(); ++i)
            if (name.endsWith(extensions[i]))
                theme.files.push_back({hashOf(name.chopped(extensions[i].size())), index,
                                       static_cast<std::uint8_t>(i)});
    }
    closedir(stream);
}

std::optional<QString> IconTheme::findIn(const Theme &theme, const QString &icon, int size,
                                         int scale) {
    const std::uint64_t hash = hashOf(QFile::encodeName(icon));
    const auto first = std::ranges::lower_bound(theme.files, hash, {}, &File::nameHash);
    const auto last = std::ranges::upper_bound(theme.files, hash, {}, &File::nameHash);
    if (first == last)
        return std::nullopt;
    const auto distance = [&](const File &file) {
        const IconThemeFolder &folder = theme.folders[file.folder].properties;
        // A folder that is meant for the size comes before one that is merely as near.
        return folder.matches(size, scale) ? -1 : folder.distance(size, scale);
    };
    const File &best = *std::ranges::min_element(first, last, {}, distance);
    return theme.folders[best.folder].path + u'/' + icon +
           QLatin1StringView(extensions[best.extension]);
}

std::optional<QString> IconTheme::find(const QString &icon, int size, int scale) const {
    for (const Theme &theme : chain_)
        if (auto file = findIn(theme, icon, size, scale))
            return file;
    return std::nullopt;
}

bool IconTheme::isCurrent() const {
    return std::ranges::all_of(watched_, [](const auto &watched) {
        return watched.second == modificationTime(watched.first);
    });
}

QStringList iconBaseFolders() {
    QStringList result{locations::home() + "/.icons"_L1,
                       locations::applicationSupport() + "/icons"_L1};
    for (const QString &folder : locations::systemData() + locations::flatpakData())
        result.append(folder + "/icons"_L1);
    result.removeDuplicates();
    return result;
}

} // namespace corvid
