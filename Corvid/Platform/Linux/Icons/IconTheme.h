#pragma once

#include "Platform/Linux/Icons/IconThemeIndex.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <vector>

namespace corvid {

/**
 * An icon theme with the themes that it inherits from, "hicolor", and the icons that belong to no
 * theme; the freedesktop lookup. The folders are listed once, on construction (milliseconds;
 * background only). After that it is immutable, so any thread may ask, and answers in
 * microseconds. What is missing or broken counts as empty.
 */
class IconTheme {
public:
    /** `baseFolders`: where themes lie, in order of precedence. `unthemedFolders`: where icons lie
        that belong to no theme, besides the base folders themselves. */
    IconTheme(const QString &name, const QStringList &baseFolders,
              const QStringList &unthemedFolders);

    /** The file that is best for a size in device-independent pixels and a whole scale. The first
        theme in the chain that has the icon in any size wins. */
    std::optional<QString> find(const QString &icon, int size, int scale) const;

    /** False once a theme's folder has changed since it was listed: time for a new object. Looks
        at a dozen folders. */
    bool isCurrent() const;

private:
    struct Folder {
        QString path;
        IconThemeFolder properties;
    };
    /** A file, for a name by its hash: the names themselves would fill megabytes. */
    struct File {
        std::uint64_t nameHash;
        std::uint32_t folder;
        std::uint8_t extension;
        // NOLINTNEXTLINE(modernize-use-nullptr): a false alarm on defaulted comparisons
        auto operator<=>(const File &) const = default;
    };
    struct Theme {
        QString name;
        std::vector<Folder> folders;
        std::vector<File> files; ///< sorted
    };

    void addTheme(const QString &name, const QStringList &baseFolders, int depth);
    void addUnthemed(const QStringList &folders);
    void append(Theme theme);
    static void addFolder(Theme &theme, const QString &path, const IconThemeFolder &properties);
    static std::optional<QString> findIn(const Theme &theme, const QString &icon, int size,
                                         int scale);

    std::vector<Theme> chain_;                                   ///< in the order of the lookup
    std::map<QString, std::filesystem::file_time_type> watched_; ///< folders, when last changed
};

/** Where the user's icon themes lie: ~/.icons, the data folders' "icons" and those of Flatpak's
    exports, which a service manager's environment lacks. */
QStringList iconBaseFolders();

} // namespace corvid
