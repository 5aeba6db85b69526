#pragma once

#include "Platform/DesktopEntries.h"

#include <QSet>

namespace corvid {

/** Whether a path is named as AppImages are, programs in one file each: "….AppImage", in any
    letter case. Pure. */
bool isAppImage(const QString &path);

/** What the program in an AppImage is called: the file's name up to a version, an architecture or a
    system's name. A single number below 1000 is part of the name. Pure. */
QString appImageName(const QString &path);

/** The identifier under which an AppImage is listed: the same for all versions. Pure. */
QString appImageId(const QString &path);

/** Where people keep AppImages, the folders that win first; they need not exist. Without those on
    another kind of volume than the home folder, which may be on a server that no longer answers.
    Any thread. */
QStringList appImageFolders();

/**
 * The AppImages directly within the folders, as entries: regular files that may be executed, since
 * opening another does nothing. Links are left out. Of several versions the one whose file name
 * comes last counts, numbers compared by their value; of equal names that in the earlier folder.
 * Only names are looked at: nothing is executed, mounted or read. Blocks on the disk; any thread.
 *
 * `launched`: what desktop entries run, as their Exec lines have it; it is listed with them.
 */
std::vector<DesktopEntry> appImages(const QStringList &folders, const QSet<QString> &launched);

} // namespace corvid
