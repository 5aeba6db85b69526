#pragma once

#include <QString>
#include <QStringList>

namespace corvid::desktopsettings {

/** What the session calls its desktop, the most specific one first. Any thread. */
QStringList names();

/** Whether the session says that it is KDE's. Any thread. */
bool isKde();

/** The family in the name of a font with its size: "Cantarell 11" has "Cantarell". Any thread. */
QString familyOf(const QString &font);

/** The name of the user's icon theme: KDE's own setting under KDE, else the desktop-wide one,
    else KDE's or GTK's configuration file, else "hicolor". Reads files; background only. */
QString iconTheme();

/** The terminal that the user chose in the desktop's settings, a program's name or path. Empty
    when none was chosen. Reads files; background only. */
QString terminal();

} // namespace corvid::desktopsettings
