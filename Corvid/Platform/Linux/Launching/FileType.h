#pragma once

#include <QString>
#include <QStringList>

namespace corvid {

/** How a file is opened. */
struct FileType {
    /** The types whose handlers open it, the closest first; possibly none. */
    QStringList types;
    /** Whether it is a program, a script or a desktop entry: what opens files by rules of its own,
        as xdg-open does, might run it. Then `types` has text alone, or nothing. */
    bool runs = false;
};

/** By the desktop's database of types, the file's beginning, and its permissions. Of a path that is
    no file to be read, by its name. Blocks on the disk; any thread. */
FileType fileType(const QString &path);

} // namespace corvid
