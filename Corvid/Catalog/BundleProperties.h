#pragma once

#include <QHash>
#include <QString>

#include <optional>

namespace corvid {

/** The texts of an application bundle's Contents/Info.plist. Absent when there is no sound one of
    at most 16 MiB. Reads a file; background only. */
std::optional<QHash<QString, QString>> bundleProperties(const QString &bundlePath);

/** One of them, for example "CFBundleIdentifier"; empty when there is none. */
QString bundleProperty(const QString &bundlePath, const QString &key);

} // namespace corvid
