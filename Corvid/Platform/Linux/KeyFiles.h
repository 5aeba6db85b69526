#pragma once

#include "Base/RegularFile.h"
#include "Platform/Linux/GLibPointers.h"

namespace corvid {

/** The key file that these bytes are; null when they are none. Pure. */
inline GKeyFilePointer parseKeyFile(const QByteArray &bytes) {
    GKeyFilePointer file(g_key_file_new());
    if (!g_key_file_load_from_data(file.get(), bytes.constData(), static_cast<gsize>(bytes.size()),
                                   G_KEY_FILE_NONE, nullptr))
        return nullptr;
    return file;
}

/** A key file that others may have put there, such as a desktop entry or an icon theme's index.
    Null when it cannot be read, is damaged, or is larger than `most` bytes. Blocks on the disk; any
    thread. */
inline GKeyFilePointer readKeyFile(const OpenedFile &opened, qint64 most) {
    const auto bytes = opened.size() <= most ? opened.read() : std::nullopt;
    return bytes ? parseKeyFile(*bytes) : nullptr;
}
inline GKeyFilePointer readKeyFile(const QString &path, qint64 most = 4 * 1024 * 1024) {
    const std::optional<OpenedFile> opened = openRegularFile(path);
    return opened ? readKeyFile(*opened, most) : nullptr;
}

/** A value as written, whatever the locale; empty when there is none. */
inline QString keyFileText(GKeyFile *file, const char *group, const char *key) {
    const GFreePointer<gchar> value(g_key_file_get_string(file, group, key, nullptr));
    return QString::fromUtf8(value.get());
}

/** How much of a desktop entry is read. */
inline constexpr qint64 largestEntry = 1024 * 1024;

} // namespace corvid
