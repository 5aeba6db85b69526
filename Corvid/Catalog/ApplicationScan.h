#pragma once

#include "Base/Records.h"
#include "Platform/DesktopEntries.h"
#include "RoleCatalog.h"

#include <stop_token>
#include <vector>

namespace corvid {

/** The folders whose application bundles are listed, in order: the later one wins. */
QStringList bundleFolders(const QString &home);

/**
 * Every installed application, sorted by name: the bundles directly within the folders, then the
 * desktop entries. Of several with one identifier, or with one path, the last one wins. What cannot
 * be read is left out. Blocks on the disk; any thread. Asked to stop, it returns what it
 * has so far.
 */
std::vector<AppEntry> scanAll(const QStringList &bundleFolders,
                              const std::vector<DesktopEntry> &desktopEntries,
                              const RoleCatalog &roles, const std::stop_token &stop);

} // namespace corvid
