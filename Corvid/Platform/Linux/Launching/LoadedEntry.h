#pragma once

#include "Platform/Linux/KeyFiles.h"

#include <gio/gdesktopappinfo.h>

#include <QFileInfo>
#include <QString>

#include <utility>

namespace corvid {

/** A desktop entry as it was when it was read. Blocks on the disk; any thread. */
struct LoadedEntry {
    QString path;
    GKeyFilePointer file;
    GObjectPointer<GDesktopAppInfo> info; ///< null when it is none, or its program is missing

    // Not by GLib, which would wait for ever where a pipe has taken the file's place.
    explicit LoadedEntry(QString entryPath)
        : path(std::move(entryPath)), file(readKeyFile(path, largestEntry)),
          info(file ? g_desktop_app_info_new_from_keyfile(file.get()) : nullptr) {}
};

/** Empty where there is none. */
inline QString entryValue(GDesktopAppInfo *entry, const char *key) {
    const GFreePointer<gchar> value(g_desktop_app_info_get_string(entry, key));
    return QString::fromUtf8(value.get());
}

inline bool runsInTerminal(GDesktopAppInfo *entry) {
    return g_desktop_app_info_get_boolean(entry, G_KEY_FILE_DESKTOP_KEY_TERMINAL) != FALSE;
}

inline bool hasCategory(GDesktopAppInfo *entry, QLatin1StringView category) {
    return QString::fromUtf8(g_desktop_app_info_get_categories(entry))
        .split(u';')
        .contains(category);
}

/** The desktop id of an entry file, without ".desktop". */
inline QString idOf(const QString &entryPath) {
    return QFileInfo(entryPath).completeBaseName();
}

} // namespace corvid
