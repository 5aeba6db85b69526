#pragma once

#include "Platform/Appearance.h"
#include "Platform/Linux/Bus/BusPeer.h"

#include <QStringList>
#include <QVariantMap>

#include <optional>

// What a portal says, read. All functions are for any message: a portal is another program, and its
// values may be of any type.
namespace corvid {

/** The namespaces of the settings that are of use. */
namespace portalnames {
inline constexpr QLatin1StringView appearance{"org.freedesktop.appearance"};
inline constexpr QLatin1StringView interface { "org.gnome.desktop.interface" };
} // namespace portalnames

/** The appearance in the reply to ReadAll; absent when it is none. */
std::optional<Appearance> appearanceIn(const QDBusMessage &reply);

/** The appearance after a SettingChanged: the one before where that is none, or of no use. */
Appearance appearanceAfter(const QDBusMessage &change, const Appearance &before);

/** What became of a request: the code is 0 when it was granted. */
struct PortalResponse {
    quint32 code = 0;
    QVariantMap results;
};

/** What a Response says. One of another type counts as ended otherwise than by the user. */
PortalResponse responseIn(const QDBusMessage &response);

/** The folders that a file chooser's results name. */
QStringList foldersIn(const QVariantMap &results);

/** A shortcut as the portal knows it. */
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

/** Makes lists of shortcuts known to Qt; before the first is sent or read. */
void registerPortalShortcuts();

/** Whether the list, if it is one, has the shortcut with a key. Some portals do not tell which key
    it is: it may be any. */
bool shortcutHasKey(const QVariant &list, const QString &id);

/** Whether KDE's daemon of shortcuts says in its reply that it knows a shortcut and has no key for
    it. */
bool meansNoKey(const QDBusMessage &reply);

/** Handles come as strings from some portals, as object paths from others. Empty for neither. */
QString handleOf(const QVariant &value);

/** Which shortcut of which session was pressed or released. */
struct PortalKeyEvent {
    QString session;
    QString shortcut;
    QByteArray activationToken; ///< empty for none
};

/** What an Activated or Deactivated says; absent when it is none. */
std::optional<PortalKeyEvent> keyEventIn(const QDBusMessage &signal);

} // namespace corvid
