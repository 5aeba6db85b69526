#pragma once

#include <QString>
#include <QStringList>

namespace corvid {

/**
 * The entry files of the applications that open a type such as "inode/directory" or
 * "x-scheme-handler/https", the preferred one first: what the user chose, what the desktop and the
 * system prefer, then whatever claims the type. Only files that exist, each once; none for no type.
 *
 * Reads the desktop's lists afresh, as it reads everything that others wrote: GIO would wait for
 * ever where one of them is a pipe. Blocks on the disk; any thread.
 */
QStringList defaultHandlers(const QString &type);

} // namespace corvid
