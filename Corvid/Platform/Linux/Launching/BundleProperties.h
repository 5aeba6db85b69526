#pragma once

#include <QString>

namespace corvid {

/** A text of the bundle's Contents/Info.plist, for example "CFBundleIdentifier". Empty when there
    is none. Reads a file; background only. */
QString bundleProperty(const QString &bundlePath, const QString &key);

/** The executable of an application bundle: the one that its Info.plist names, else the one named
    like the bundle. The file need not exist. Reads a file; background only. */
QString bundleExecutable(const QString &bundlePath);

} // namespace corvid
