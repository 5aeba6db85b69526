#include "Platform/Linux/Icons/IconThemeIndex.h"

#include "Platform/Linux/KeyFiles.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// The largest themes have some hundred folders and three parents. Each name costs calls of the
// system in every base folder.
constexpr qsizetype mostThemeFolders = 2'000;
constexpr qsizetype mostParents = 50;

QStringList strings(GKeyFile *file, const char *key, qsizetype most) {
    QStringList result = keyFileText(file, "Icon Theme", key).split(u',');
    for (QString &part : result)
        part = part.trimmed();
    result.removeAll(QString());
    result.removeDuplicates();
    return result.first(std::min(result.size(), most));
}

// A size or a scale: the product of two fits in an int.
int number(GKeyFile *file, const char *group, const char *key, int fallback) {
    GErrorHolder error;
    const int value = g_key_file_get_integer(file, group, key, error.out());
    return error.get() ? fallback : std::clamp(value, 0, 10'000);
}

std::optional<IconThemeFolder> readFolder(GKeyFile *index, const QString &name) {
    const QByteArray group = name.toUtf8();
    const int size = number(index, group.constData(), "Size", 0);
    if (size <= 0)
        return std::nullopt;
    const int scale = std::max(1, number(index, group.constData(), "Scale", 1));
    const QString type = keyFileText(index, group.constData(), "Type");
    if (type == "Fixed"_L1)
        return IconThemeFolder{scale, size, size};
    if (type == "Scalable"_L1)
        return IconThemeFolder{scale, number(index, group.constData(), "MinSize", size),
                               number(index, group.constData(), "MaxSize", size)};
    const int threshold = number(index, group.constData(), "Threshold", 2);
    return IconThemeFolder{scale, size - threshold, size + threshold};
}

} // namespace

bool IconThemeFolder::matches(int wantedSize, int wantedScale) const {
    return scale == wantedScale && minimum <= wantedSize && wantedSize <= maximum;
}

int IconThemeFolder::distance(int wantedSize, int wantedScale) const {
    const int wanted = wantedSize * wantedScale;
    return std::max({minimum * scale - wanted, wanted - maximum * scale, 0});
}

std::optional<IconThemeIndex> parseIconThemeIndex(const QByteArray &text) {
    const GKeyFilePointer file = parseKeyFile(text);
    if (!file)
        return std::nullopt;
    IconThemeIndex index;
    QStringList names = strings(file.get(), "Directories", mostThemeFolders) +
                        strings(file.get(), "ScaledDirectories", mostThemeFolders);
    names.removeDuplicates();
    for (const QString &name : std::as_const(names))
        if (const std::optional<IconThemeFolder> folder = readFolder(file.get(), name))
            index.folders.emplace_back(name, *folder);
    index.parents = strings(file.get(), "Inherits", mostParents);
    return index;
}

} // namespace corvid
