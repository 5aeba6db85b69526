#include "Platform/Linux/KeyFiles.h"

#include "Base/RegularFile.h"

namespace corvid {

GKeyFilePointer readKeyFile(const QString &path, qint64 most) {
    const auto bytes = readRegularFile(path, most);
    GKeyFilePointer file(g_key_file_new());
    if (!bytes ||
        !g_key_file_load_from_data(file.get(), bytes->constData(),
                                   static_cast<gsize>(bytes->size()), G_KEY_FILE_NONE, nullptr))
        return nullptr;
    return file;
}

QString keyFileText(const GKeyFilePointer &file, const char *group, const char *key) {
    const GFreePointer<gchar> value(g_key_file_get_string(file.get(), group, key, nullptr));
    return QString::fromUtf8(value.get());
}

} // namespace corvid
