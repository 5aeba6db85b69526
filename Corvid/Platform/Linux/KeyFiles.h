#pragma once

#include "Platform/Linux/GLibPointers.h"

namespace corvid {

/** A key file that others may have put there, such as a desktop entry or an icon theme's index.
    Null when it cannot be read, is damaged, or is larger than `most` bytes. Blocks on the disk; any
    thread. */
GKeyFilePointer readKeyFile(const QString &path, qint64 most);

/** How much of a desktop entry is read. */
inline constexpr qint64 largestEntry = 1024 * 1024;

/** The text of a key, not localised; empty for none. */
QString keyFileText(const GKeyFilePointer &file, const char *group, const char *key);

} // namespace corvid
