#pragma once

#include <QString>
#include <QStringList>

namespace corvid::desktopsettings {

/** What the session calls its desktop, the most specific one first. Any thread. */
QStringList names();

/** Whether the session says that it is KDE's. Any thread. */
bool isKde();

/** Whether the session says that it is GNOME's. Any thread. */
bool isGnome();

/** The family in the name of a font with its size: "Cantarell 11" has "Cantarell". Any thread. */
QString familyOf(const QString &font);

/** The name of the user's icon theme: KDE's own setting under KDE, else the desktop-wide one,
    else KDE's or GTK's configuration file, else "hicolor". Reads files; background only. */
QString iconTheme();

/** The terminal that the user chose in the desktop's settings, a program's name or path. Empty
    when none was chosen. Reads files; background only. */
QString terminal();

/** Whether GNOME has a use of its own for a combination, as "<Alt>space" or "ALT+space". Reads
    files; background only. */
bool isBound(const QString &combination);

} // namespace corvid::desktopsettings
