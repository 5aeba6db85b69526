#pragma once

#include <QByteArray>
#include <QString>

namespace corvid {

class Volumes;

/** What a HEAD file of Git says: the branch, or the first seven digits of the commit where none is
    checked out. Empty for anything else. Pure, for any bytes. */
QString branchOfHead(const QByteArray &head);

/** The folder that a ".git" file of a worktree or a submodule leads to, relative to the folder that
    the file lies in or absolute; empty where it leads nowhere. Pure, for any bytes. */
QString gitFolderOf(const QByteArray &file);

/**
 * The branch that is checked out in a folder, as its ".git" says it; no program is run. Empty
 * where the folder is no working tree, and where that cannot be told from two small regular
 * files on local volumes: a network mount whose server is gone is not touched.
 *
 * Blocks on the disk; any thread.
 */
QString checkedOutBranch(const QString &folder, const Volumes &volumes);

} // namespace corvid
