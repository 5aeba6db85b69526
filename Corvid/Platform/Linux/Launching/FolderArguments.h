#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace corvid {

/**
 * What an application that works on a folder is given instead of the folder's path, possibly
 * nothing. Absent for an application that takes a folder as it takes a file, which most do.
 *
 * `id` is the desktop id, `exec` the entry's line. `inTerminal`: the application has no window of
 * its own; what its line does not ask for it would take for something else. Looks into the folder
 * for a project file where the application opens nothing else; any thread, blocks on the disk.
 */
std::optional<QStringList> folderArguments(const QString &id, const QString &exec, bool inTerminal,
                                           const QString &folder);

} // namespace corvid
