#include "Platform/Linux/Icons/IconTheme.h"

#include "Base/Locations.h"
#include "Base/RegularFile.h"
#include "Platform/Linux/GLibPointers.h"

#include <QFile>
#include <QHashFunctions>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int maximumDepth = 16; // of inheritance, for themes that inherit in a long circle
constexpr std::size_t maximumFolders = 10'000;

// In the order of preference where one folder has several.
constexpr std::array<QByteArrayView, 4> extensions{".png", ".svg", ".svgz", ".xpm"};

struct KeyFileFree {
    void operator()(GKeyFile *file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileFree>;

KeyFile readIndex(const QString &path) {
    KeyFile file(g_key_file_new());
    constexpr qint64 largest = 4 * 1024 * 1024;
    const auto bytes = readRegularFile(path, largest);
    GErrorHolder error;
    if (!bytes ||
        !g_key_file_load_from_data(file.get(), bytes->constData(),
                                   static_cast<gsize>(bytes->size()), G_KEY_FILE_NONE, error.out()))
        return nullptr;
    return file;
}

QStringList strings(GKeyFile *file, const char *group, const char *key) {
    GErrorHolder error;
    const GFreePointer<gchar> value(g_key_file_get_string(file, group, key, error.out()));
    QStringList result;
    const QStringList parts = QString::fromUtf8(value.get()).split(u',', Qt::SkipEmptyParts);
    for (const QString &part : parts)
        if (const QString trimmed = part.trimmed(); !trimmed.isEmpty())
            result.append(trimmed);
    return result;
}

int integer(GKeyFile *file, const char *group, const char *key, int fallback) {
    GErrorHolder error;
    const int value = g_key_file_get_integer(file, group, key, error.out());
    return error.get() ? fallback : value;
}

std::optional<IconThemeFolder> readFolder(GKeyFile *index, const QString &name) {
    const QByteArray group = name.toUtf8();
    IconThemeFolder folder;
    folder.size = integer(index, group.constData(), "Size", 0);
    if (folder.size <= 0)
        return std::nullopt;
    folder.scale = std::max(1, integer(index, group.constData(), "Scale", 1));
    folder.minimum = integer(index, group.constData(), "MinSize", folder.size);
    folder.maximum = integer(index, group.constData(), "MaxSize", folder.size);
    folder.threshold = integer(index, group.constData(), "Threshold", 2);
    GErrorHolder error;
    const GFreePointer<gchar> type(
        g_key_file_get_string(index, group.constData(), "Type", error.out()));
    if (qstrcmp(type.get(), "Fixed") == 0)
        folder.type = IconThemeFolder::Type::Fixed;
    else if (qstrcmp(type.get(), "Scalable") == 0)
        folder.type = IconThemeFolder::Type::Scalable;
    return folder;
}

std::uint64_t hashOf(QByteArrayView name) {
    return qHash(name, 0);
}

std::optional<std::timespec> modificationTime(const QString &path) {
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return status.st_mtim;
}

} // namespace

bool IconThemeFolder::matches(int wantedSize, int wantedScale) const {
    if (scale != wantedScale)
        return false;
    switch (type) {
    case Type::Fixed:
        return size == wantedSize;
    case Type::Scalable:
        return minimum <= wantedSize && wantedSize <= maximum;
    case Type::Threshold:
        return std::abs(size - wantedSize) <= threshold;
    }
    return false;
}

int IconThemeFolder::distance(int wantedSize, int wantedScale) const {
    const int wanted = wantedSize * wantedScale;
    int low = size * scale;
    int high = low;
    if (type == Type::Scalable) {
        low = minimum * scale;
        high = maximum * scale;
    } else if (type == Type::Threshold) {
        low = (size - threshold) * scale;
        high = (size + threshold) * scale;
    }
    if (wanted < low)
        return low - wanted;
    return wanted > high ? wanted - high : 0;
}

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

    KeyFile index;
    for (const QString &base : baseFolders) {
        watch(base + u'/' + name);
        if (!index)
            index = readIndex(base + u'/' + name + "/index.theme"_L1);
    }
    if (!index)
        return;

    Theme theme;
    theme.name = name;
    const QStringList names = strings(index.get(), "Icon Theme", "Directories") +
                              strings(index.get(), "Icon Theme", "ScaledDirectories");
    for (const QString &folderName : names) {
        const std::optional<IconThemeFolder> properties = readFolder(index.get(), folderName);
        if (!properties)
            continue;
        for (const QString &base : baseFolders) {
            if (theme.folders.size() == maximumFolders)
                break;
            theme.folders.push_back({base + u'/' + name + u'/' + folderName, *properties});
            list(theme, static_cast<std::uint32_t>(theme.folders.size() - 1));
        }
    }
    std::sort(theme.files.begin(), theme.files.end());
    theme.files.shrink_to_fit();
    chain_.push_back(std::move(theme));

    const QStringList parents = strings(index.get(), "Icon Theme", "Inherits");
    for (const QString &parent : parents)
        addTheme(parent, baseFolders, depth + 1);
}

void IconTheme::addUnthemed(const QStringList &folders) {
    Theme theme;
    for (const QString &folder : folders) {
        watch(folder);
        theme.folders.push_back({folder, {}});
        list(theme, static_cast<std::uint32_t>(theme.folders.size() - 1));
    }
    std::sort(theme.files.begin(), theme.files.end());
    chain_.push_back(std::move(theme));
}

void IconTheme::watch(const QString &folder) {
    watched_.push_back({folder, modificationTime(folder)});
}

void IconTheme::list(Theme &theme, std::uint32_t folder) {
    DIR *stream = opendir(QFile::encodeName(theme.folders[folder].path).constData());
    if (!stream)
        return;
    while (const dirent *entry = readdir(stream)) {
        const QByteArrayView name(entry->d_name);
        for (std::size_t i = 0; i < extensions.size(); ++i)
            if (name.endsWith(extensions[i]))
                theme.files.push_back({hashOf(name.chopped(extensions[i].size())), folder,
                                       static_cast<std::uint8_t>(i)});
    }
    closedir(stream);
}

std::optional<QString> IconTheme::findIn(const Theme &theme, const QString &icon, int size,
                                         int scale) {
    const QByteArray name = QFile::encodeName(icon);
    const std::uint64_t hash = hashOf(name);
    const auto first = std::lower_bound(theme.files.begin(), theme.files.end(), File{hash, 0, 0});
    const File *best = nullptr;
    int bestDistance = 0;
    for (auto file = first; file != theme.files.end() && file->nameHash == hash; ++file) {
        const IconThemeFolder &folder = theme.folders[file->folder].properties;
        // A folder that is meant for the size comes before one that is merely as near.
        const int distance = folder.matches(size, scale) ? -1 : folder.distance(size, scale);
        if (!best || distance < bestDistance) {
            best = &*file;
            bestDistance = distance;
        }
    }
    if (!best)
        return std::nullopt;
    return theme.folders[best->folder].path + u'/' + icon +
           QLatin1StringView(extensions[best->extension]);
}

std::optional<QString> IconTheme::find(const QString &icon, int size, int scale) const {
    for (const Theme &theme : chain_)
        if (auto file = findIn(theme, icon, size, scale))
            return file;
    return std::nullopt;
}

bool IconTheme::isCurrent() const {
    return std::all_of(watched_.begin(), watched_.end(), [](const Watched &watched) {
        const auto now = modificationTime(watched.path);
        if (!now || !watched.modified)
            return now.has_value() == watched.modified.has_value();
        return now->tv_sec == watched.modified->tv_sec && now->tv_nsec == watched.modified->tv_nsec;
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
