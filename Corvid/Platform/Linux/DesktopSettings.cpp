#include "Platform/Linux/DesktopSettings.h"

#include "Base/Locations.h"
#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/CurrentDesktop.h"
#include "Platform/Linux/GLibPointers.h"

#include <QFile>

namespace corvid::desktopsettings {

using namespace Qt::Literals::StringLiterals;

namespace {

struct KeyFileFree {
    void operator()(GKeyFile *file) const { g_key_file_free(file); }
};

// Absent schemas and keys must be asked for first: GLib aborts the process over them.
QString fromSettings(const char *schemaId, const char *key, bool onlyChosenByUser) {
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    if (!source)
        return {};
    GSettingsSchema *schema = g_settings_schema_source_lookup(source, schemaId, TRUE);
    if (!schema)
        return {};
    sessionBus(nullptr);
    QString value;
    if (g_settings_schema_has_key(schema, key)) {
        const GObjectPointer<GSettings> settings(g_settings_new(schemaId));
        GVariant *variant = onlyChosenByUser ? g_settings_get_user_value(settings.get(), key)
                                             : g_settings_get_value(settings.get(), key);
        if (variant && g_variant_is_of_type(variant, G_VARIANT_TYPE_STRING))
            value = QString::fromUtf8(g_variant_get_string(variant, nullptr));
        if (variant)
            g_variant_unref(variant);
    }
    g_settings_schema_unref(schema);
    return value;
}

QString fromConfigurationFile(QLatin1StringView name, const char *group, const char *key) {
    const std::unique_ptr<GKeyFile, KeyFileFree> file(g_key_file_new());
    const QByteArray path = QFile::encodeName(locations::configuration() + u'/' + name);
    GErrorHolder error;
    if (!g_key_file_load_from_file(file.get(), path.constData(), G_KEY_FILE_NONE, error.out()))
        return {};
    const GFreePointer<gchar> value(g_key_file_get_string(file.get(), group, key, error.out()));
    return QString::fromUtf8(value.get());
}

QString firstNotEmpty(std::initializer_list<QString (*)()> sources) {
    for (const auto source : sources)
        if (QString value = source(); !value.isEmpty())
            return value;
    return {};
}

QString kdeIconTheme() {
    return fromConfigurationFile("kdeglobals"_L1, "Icons", "Theme");
}

QString kdeTerminal() {
    return fromConfigurationFile("kdeglobals"_L1, "General", "TerminalApplication");
}

QString settingsIconTheme() {
    return fromSettings("org.gnome.desktop.interface", "icon-theme", false);
}

// The default names a terminal that need not be installed, so only a choice counts.
QString settingsTerminal() {
    return fromSettings("org.gnome.desktop.default-applications.terminal", "exec", true);
}

QString gtkIconTheme() {
    return fromConfigurationFile("gtk-3.0/settings.ini"_L1, "Settings", "gtk-icon-theme-name");
}

} // namespace

QString iconTheme() {
    const QString theme = isKde()
                              ? firstNotEmpty({kdeIconTheme, settingsIconTheme, gtkIconTheme})
                              : firstNotEmpty({settingsIconTheme, kdeIconTheme, gtkIconTheme});
    return theme.isEmpty() ? u"hicolor"_s : theme;
}

QString terminal() {
    return isKde() ? kdeTerminal() : settingsTerminal();
}

} // namespace corvid::desktopsettings
