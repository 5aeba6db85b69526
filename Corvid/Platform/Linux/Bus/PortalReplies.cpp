#include "Platform/Linux/Bus/PortalReplies.h"

#include "Platform/Linux/DesktopSettings.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QUrl>

#include <algorithm>
#include <array>
#include <cmath>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 endedOtherwise = 2; // than by the user's choice

// Any channel outside 0 to 1 means that no accent colour is set.
std::optional<quint32> accentOf(const QVariant &value) {
    const auto structure = exactly<QDBusArgument>(value);
    if (!structure || structure->currentSignature() != "(ddd)"_L1)
        return std::nullopt;
    std::array<double, 3> channels{};
    structure->beginStructure();
    *structure >> channels[0] >> channels[1] >> channels[2];
    structure->endStructure();
    quint32 colour = 0;
    for (const double channel : channels) {
        if (!(channel >= 0 && channel <= 1))
            return std::nullopt;
        colour = colour << 8 | static_cast<quint32>(std::lround(channel * 255));
    }
    return colour;
}

ColorScheme colorSchemeOf(const QVariant &value) {
    const auto scheme = exactly<quint32>(value);
    return scheme == 1   ? ColorScheme::Dark
           : scheme == 2 ? ColorScheme::Light
                         : ColorScheme::NoPreference;
}

void apply(Appearance &appearance, const QString &names, const QString &key,
           const QVariant &value) {
    if (names == portalnames::appearance) {
        if (key == "accent-color"_L1)
            appearance.accent = accentOf(value);
        else if (key == "color-scheme"_L1)
            appearance.colorScheme = colorSchemeOf(value);
        else if (key == "contrast"_L1)
            appearance.highContrast = exactly<quint32>(value) == 1;
        else if (key == "reduced-motion"_L1)
            appearance.motion = exactly<quint32>(value) != 1;
    } else if (names == portalnames::interface) {
        if (key == "enable-animations"_L1)
            appearance.motion = exactly<bool>(value).value_or(true);
        // KDE's font reaches Qt by itself; what its portal says of another desktop's is no choice
        // of the user's.
        else if (key == "font-name"_L1 && !desktopsettings::isKde())
            appearance.fontFamily =
                desktopsettings::familyOf(exactly<QString>(value).value_or(QString()));
    }
}

} // namespace

// Where Qt looks for them: beside the type.
static QDBusArgument &operator<<(QDBusArgument &argument, const PortalShortcut &shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

static const QDBusArgument &operator>>(const QDBusArgument &argument, PortalShortcut &shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

std::optional<Appearance> appearanceIn(const QDBusMessage &reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "a{sa{sv}}"_L1)
        return std::nullopt;
    const auto all = reply.arguments()[0].value<QDBusArgument>();
    Appearance appearance;
    all.beginMap();
    while (!all.atEnd()) {
        QString names;
        QVariantMap settings;
        all.beginMapEntry();
        all >> names >> settings;
        all.endMapEntry();
        for (auto setting = settings.cbegin(); setting != settings.cend(); ++setting)
            apply(appearance, names, setting.key(), setting.value());
    }
    all.endMap();
    return appearance;
}

Appearance appearanceAfter(const QDBusMessage &change, const Appearance &before) {
    Appearance appearance = before;
    if (change.signature() == "ssv"_L1) {
        const QVariantList arguments = change.arguments();
        apply(appearance, arguments[0].toString(), arguments[1].toString(),
              arguments[2].value<QDBusVariant>().variant());
    }
    return appearance;
}

PortalResponse responseIn(const QDBusMessage &response) {
    if (response.signature() != "ua{sv}"_L1)
        return {endedOtherwise, {}};
    return {response.arguments()[0].toUInt(), qdbus_cast<QVariantMap>(response.arguments()[1])};
}

QStringList foldersIn(const QVariantMap &results) {
    QStringList paths;
    for (const QString &uri :
         exactly<QStringList>(results.value(u"uris"_s)).value_or(QStringList())) {
        const QString path = QUrl(uri).toLocalFile();
        if (!path.isEmpty())
            paths.append(path);
    }
    return paths;
}

void registerPortalShortcuts() {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
}

bool shortcutHasKey(const QVariant &list, const QString &id) {
    const auto argument = exactly<QDBusArgument>(list);
    if (!argument || argument->currentSignature() != "a(sa{sv})"_L1)
        return false;
    const auto shortcuts = qdbus_cast<QList<PortalShortcut>>(*argument);
    const auto found = std::ranges::find(shortcuts, id, &PortalShortcut::id);
    return found != shortcuts.end() &&
           exactly<QString>(found->properties.value(u"trigger_description"_s)) != QString();
}

bool meansNoKey(const QDBusMessage &reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "a(ai)"_L1)
        return false;
    const auto sequences = reply.arguments()[0].value<QDBusArgument>();
    bool isKnown = false;
    bool hasKey = false;
    sequences.beginArray();
    while (!sequences.atEnd()) {
        QList<int> keys;
        sequences.beginStructure();
        sequences >> keys;
        sequences.endStructure();
        isKnown = true;
        hasKey = hasKey || std::ranges::any_of(keys, [](int key) { return key != 0; });
    }
    sequences.endArray();
    return isKnown && !hasKey;
}

QString handleOf(const QVariant &value) {
    const auto path = exactly<QDBusObjectPath>(value);
    return path ? path->path() : exactly<QString>(value).value_or(QString());
}

std::optional<PortalKeyEvent> keyEventIn(const QDBusMessage &signal) {
    if (signal.signature() != "osta{sv}"_L1)
        return std::nullopt;
    const QVariantList arguments = signal.arguments();
    const auto options = qdbus_cast<QVariantMap>(arguments[3]);
    return PortalKeyEvent{handleOf(arguments[0]), arguments[1].toString(),
                          handleOf(options.value(u"activation_token"_s)).toUtf8()};
}

} // namespace corvid
