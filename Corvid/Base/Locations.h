#pragma once

#include <QString>
#include <QStringList>

/**
 * Where files live. The one place that reads $HOME and the folders of $XDG_…, so that a test or a
 * second user is given another world by environment alone. Read afresh at every call, any thread.
 * An empty or relative folder in a $XDG_… counts as not given. No result ends with "/" and none is
 * empty.
 */
namespace corvid::locations {

/** The user's home folder: $HOME, or the account's when that is unset. */
QString home();

/** $XDG_DATA_HOME, by default ~/.local/share. */
QString applicationSupport();

/** $XDG_DATA_DIRS, where what is installed for everybody keeps its data; by default
    /usr/local/share and /usr/share. */
QStringList systemData();

/** Where Flatpak puts the data of what it installs: the user's own, then everybody's. The
    environment need not name them. */
QStringList flatpakData();

/** $XDG_CONFIG_HOME, by default ~/.config. */
QString configuration();

/** $XDG_CONFIG_DIRS, what is configured for everybody; by default /etc/xdg. */
QStringList systemConfiguration();

/** $XDG_STATE_HOME, by default ~/.local/state. */
QString state();

/** $XDG_CACHE_HOME, by default ~/.cache: what can be made again at any time. */
QString cache();

/** A cache file of ours, e.g. cacheFile("catalog.json"). Its folder need not exist. */
QString cacheFile(const QString &name);

} // namespace corvid::locations
