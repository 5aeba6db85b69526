#pragma once

#include "Base/Records.h"

#include <optional>

namespace corvid {

class SystemLog;
class Workspace;

/**
 * Opens a project folder in an editor: through the editor's own command-line tool where its
 * bundle carries one, otherwise through the workspace; a terminal gets it as its working folder.
 * Main thread only. A failure leaves one
 * line in the system log, nothing more.
 */
class EditorLauncher {
public:
    /** Both must outlive every opening. */
    EditorLauncher(Workspace &workspace, SystemLog &log) : workspace_(workspace), log_(log) {}

    /** Without an editor the folder opens with its default handler, the file manager. */
    void open(const ProjectEntry &project, const std::optional<AppEntry> &editor);

    /** The first executable command-line tool inside an editor's bundle. */
    static std::optional<QString> cliPath(const QString &appPath);

private:
    void openFiles(const ProjectEntry &project, const AppEntry &editor);

    Workspace &workspace_;
    SystemLog &log_;
};

} // namespace corvid
