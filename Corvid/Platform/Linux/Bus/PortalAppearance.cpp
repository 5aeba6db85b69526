#include "Platform/Linux/Bus/PortalAppearance.h"

#include "Platform/Linux/DesktopSettings.h"

#include <QDBusArgument>

#include <array>
#include <cmath>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto settingsInterface = "org.freedesktop.portal.Settings"_L1;
constexpr auto appearanceNames = "org.freedesktop.appearance"_L1;
constexpr auto interfaceNames = "org.gnome.desktop.interface"_L1;

// Any channel outside 0 to 1 means that no accent colour is set.
std::optional<quint32> accentOf(const QVariant &value) {
    const auto structure = exactly<QDBusArgument>(value);
    if (!structure || structure->currentSignature() != "(ddd)"_L1)
        return std::nullopt;
    std::array<double, 3> channels{};
    structure->beginStructure();
    *structure >> channels[0] >> channels[1] >> channels[2];
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

// "Cantarell 11" → "Cantarell"
QString familyOf(const QVariant &value) {
    const QString font = exactly<QString>(value).value_or(QString()).trimmed();
    const qsizetype space = font.lastIndexOf(u' ');
    bool endsInSize = false;
    font.sliced(space + 1).toDouble(&endsInSize);
    return endsInSize && space > 0 ? font.left(space) : font;
}

void apply(Appearance &appearance, const QString &names, const QString &key,
           const QVariant &value) {
    if (names == appearanceNames) {
        if (key == "accent-color"_L1)
            appearance.accent = accentOf(value);
        else if (key == "color-scheme"_L1)
            appearance.colorScheme = colorSchemeOf(value);
        else if (key == "contrast"_L1)
            appearance.highContrast = exactly<quint32>(value) == 1;
        else if (key == "reduced-motion"_L1)
            appearance.motion = exactly<quint32>(value) != 1;
    } else if (names == interfaceNames) {
        if (key == "enable-animations"_L1)
            appearance.motion = exactly<bool>(value).value_or(true);
        // KDE's font reaches Qt by itself; what its portal says of another desktop's is no choice
        // of the user's.
        else if (key == "font-name"_L1 && !desktopsettings::isKde())
            appearance.fontFamily = familyOf(value);
    }
}

} // namespace

PortalAppearance::PortalAppearance() : portal_(QDBusConnection::sessionBus()) {
    // Before asking, so that no change falls in between.
    portal_.listen(Portal::path, settingsInterface, u"SettingChanged"_s,
                   [this](const QDBusMessage &change) {
                       if (change.signature() != "ssv"_L1)
                           return;
                       const QVariantList arguments = change.arguments();
                       Appearance appearance = current_;
                       apply(appearance, arguments[0].toString(), arguments[1].toString(),
                             arguments[2].value<QDBusVariant>().variant());
                       install(appearance);
                   });
    const auto readAll = portal_.method(Portal::path, settingsInterface, u"ReadAll"_s,
                                        {QStringList{appearanceNames, interfaceNames}});
    portal_.send(readAll, [this](const QDBusMessage &reply) {
        if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "a{sa{sv}}"_L1)
            return;
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
        install(appearance);
    });
}

void PortalAppearance::install(const Appearance &appearance) {
    if (appearance == current_)
        return;
    current_ = appearance;
    if (onChange)
        onChange();
}

} // namespace corvid
