#include "Platform/Linux/DesktopSettings.h"

#include "Base/Locations.h"
#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/KeyFiles.h"

namespace corvid::desktopsettings {

using namespace Qt::Literals::StringLiterals;

namespace {

struct SchemaUnref {
    void operator()(GSettingsSchema *schema) const { g_settings_schema_unref(schema); }
};

// Asks for the schema and the key first: GLib aborts the process over absent ones.
QString fromSettings(const char *schemaId, const char *key, bool onlyChosenByUser) {
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    const std::unique_ptr<GSettingsSchema, SchemaUnref> schema(
        source ? g_settings_schema_source_lookup(source, schemaId, TRUE) : nullptr);
    if (!schema || !g_settings_schema_has_key(schema.get(), key))
        return {};
    sessionBus(nullptr);
    const GObjectPointer<GSettings> settings(g_settings_new(schemaId));
    const GVariantPointer value(onlyChosenByUser ? g_settings_get_user_value(settings.get(), key)
                                                 : g_settings_get_value(settings.get(), key));
    if (!value || !g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING))
        return {};
    return QString::fromUtf8(g_variant_get_string(value.get(), nullptr));
}

QString fromConfigurationFile(QLatin1StringView name, const char *group, const char *key) {
    const GKeyFilePointer file = readKeyFile(locations::configuration() + u'/' + name);
    return file ? keyFileText(file.get(), group, key) : QString();
}

QString kdeIconTheme() {
    return fromConfigurationFile("kdeglobals"_L1, "Icons", "Theme");
}

QString settingsIconTheme() {
    return fromSettings("org.gnome.desktop.interface", "icon-theme", false);
}

} // namespace

QStringList names() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
}

QString familyOf(const QString &font) {
    const QString name = font.trimmed();
    const qsizetype space = name.lastIndexOf(u' ');
    bool endsInSize = false;
    name.sliced(space + 1).toDouble(&endsInSize);
    return endsInSize && space > 0 ? name.left(space) : name;
}

bool isKde() {
    return names().contains("KDE"_L1, Qt::CaseInsensitive);
}

QString iconTheme() {
    const bool kdeFirst = isKde();
    QString theme = kdeFirst ? kdeIconTheme() : settingsIconTheme();
    if (theme.isEmpty())
        theme = kdeFirst ? settingsIconTheme() : kdeIconTheme();
    if (theme.isEmpty())
        theme = fromConfigurationFile("gtk-3.0/settings.ini"_L1, "Settings", "gtk-icon-theme-name");
    return theme.isEmpty() ? u"hicolor"_s : theme;
}

QString terminal() {
    if (isKde())
        return fromConfigurationFile("kdeglobals"_L1, "General", "TerminalApplication");
    // The default names a terminal that need not be installed, so only a choice counts.
    return fromSettings("org.gnome.desktop.default-applications.terminal", "exec", true);
}

} // namespace corvid::desktopsettings
