#pragma once

#include <QString>

/**
 * Where the user's files live. The one place that reads $HOME and $XDG_…, so that a test or a
 * second user is given another world by environment alone. Read afresh at every call, any thread.
 * An empty or relative $XDG_… counts as unset. No result ends with "/" and none is empty.
 */
namespace corvid::locations {

/** The user's home folder: $HOME, or the account's when that is unset. */
QString home();

/** $XDG_DATA_HOME, by default ~/.local/share. */
QString applicationSupport();

/** $XDG_CONFIG_HOME, by default ~/.config. */
QString configuration();

/** $XDG_STATE_HOME, by default ~/.local/state. */
QString state();

/** A cache file of ours, e.g. cacheFile("catalog.json"). Its folder need not exist. */
QString cacheFile(const QString &name);

} // namespace corvid::locations
