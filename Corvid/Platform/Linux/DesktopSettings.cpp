#include "Platform/Linux/DesktopSettings.h"

#include "Base/Locations.h"
#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/KeyFiles.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace corvid::desktopsettings {

using namespace Qt::Literals::StringLiterals;

namespace {

struct SchemaUnref {
    void operator()(GSettingsSchema *schema) const { g_settings_schema_unref(schema); }
};

using SchemaPointer = std::unique_ptr<GSettingsSchema, SchemaUnref>;

SchemaPointer schemaOf(const char *schemaId) {
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    return SchemaPointer(source ? g_settings_schema_source_lookup(source, schemaId, TRUE)
                                : nullptr);
}

// Asks for the schema and the key first: GLib aborts the process over absent ones.
QString fromSettings(const char *schemaId, const char *key, bool onlyChosenByUser) {
    const SchemaPointer schema = schemaOf(schemaId);
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

// Where GNOME has the keys that it keeps for itself.
constexpr const char *keySchemas[]{
    "org.gnome.desktop.wm.keybindings", "org.gnome.mutter.keybindings",
    "org.gnome.mutter.wayland.keybindings", "org.gnome.shell.keybindings",
    "org.gnome.settings-daemon.plugins.media-keys"};

constexpr std::pair<QLatin1StringView, QLatin1StringView> modifierAliases[]{
    {"ctrl"_L1, "control"_L1}, {"ctl"_L1, "control"_L1}, {"primary"_L1, "control"_L1},
    {"mod1"_L1, "alt"_L1},     {"mod4"_L1, "super"_L1},  {"logo"_L1, "super"_L1}};

// A combination's key and modifiers, whatever their order and notation.
QStringList partsOf(const QString &combination) {
    static const QRegularExpression separators(u"[<>+]"_s);
    QStringList parts = combination.toLower().split(separators, Qt::SkipEmptyParts);
    for (QString &part : parts)
        for (const auto &[alias, name] : modifierAliases)
            if (part == alias)
                part = name;
    parts.sort();
    return parts;
}

QStringList combinationsIn(GSettings *settings, const char *key) {
    const GVariantPointer value(g_settings_get_value(settings, key));
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING_ARRAY))
        return {};
    QStringList combinations;
    const GStrvPointer texts(g_variant_dup_strv(value.get(), nullptr));
    for (gchar **text = texts.get(); *text; ++text)
        combinations.append(QString::fromUtf8(*text));
    return combinations;
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

bool isGnome() {
    return names().contains("GNOME"_L1, Qt::CaseInsensitive);
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

bool isBound(const QString &combination) {
    const QStringList wanted = partsOf(combination);
    const auto isWanted = [&](const QString &each) { return partsOf(each) == wanted; };
    for (const char *schemaId : keySchemas) {
        const SchemaPointer schema = schemaOf(schemaId);
        if (!schema)
            continue;
        sessionBus(nullptr);
        const GObjectPointer<GSettings> settings(g_settings_new(schemaId));
        const GStrvPointer keys(g_settings_schema_list_keys(schema.get()));
        for (gchar **key = keys.get(); *key; ++key)
            if (std::ranges::any_of(combinationsIn(settings.get(), *key), isWanted))
                return true;
    }
    return false;
}

} // namespace corvid::desktopsettings
