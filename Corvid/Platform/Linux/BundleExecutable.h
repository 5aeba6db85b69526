#pragma once

#include <QString>

namespace corvid {

/** The executable of an application bundle: the one that its Info.plist names, else the one named
    like the bundle. The file need not exist. Reads a file; background only. */
QString bundleExecutable(const QString &bundlePath);

} // namespace corvid
