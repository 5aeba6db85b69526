#include "EditorLauncher.h"

#include "Platform/SystemLog.h"
#include "Platform/Workspace.h"

#include <QFileInfo>

#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Every bundle is probed with all of them; the first that is executable wins.
constexpr std::array toolPaths = {
    "Contents/Resources/app/bin/cursor"_L1,
    "Contents/Resources/app/bin/antigravity"_L1,
    "Contents/Resources/app/bin/code-insiders"_L1,
    "Contents/Resources/app/bin/windsurf"_L1,
    "Contents/Resources/app/bin/codium"_L1,
    "Contents/Resources/app/bin/code"_L1,
    "Contents/MacOS/cli"_L1,
    "Contents/SharedSupport/bin/code"_L1,
};

// A terminal takes no folder as a file. What edits code as well does.
bool isTerminal(const AppEntry &app) {
    return app.roles.contains("terminal"_L1) && !app.roles.contains("code-editor"_L1);
}

} // namespace

std::optional<QString> EditorLauncher::cliPath(const QString &appPath) {
    for (const QLatin1StringView toolPath : toolPaths) {
        const QString path = appPath + u'/' + toolPath;
        const QFileInfo file(path);
        if (file.isFile() && file.isExecutable())
            return path;
    }
    return std::nullopt;
}

void EditorLauncher::open(const ProjectEntry &project, const std::optional<AppEntry> &editor) {
    if (!editor) {
        workspace_.open(project.path);
        return;
    }
    const std::optional<QString> tool = cliPath(editor->path);
    if (!tool) {
        openFiles(project, *editor);
        return;
    }
    workspace_.startTool(*tool, {project.path},
                         [this, project, editor = *editor](const QString &error) {
                             if (!error.isEmpty())
                                 openFiles(project, editor);
                         });
}

void EditorLauncher::openFiles(const ProjectEntry &project, const AppEntry &editor) {
    const auto logFailure = [this, path = project.path, name = editor.name](const QString &error) {
        if (!error.isEmpty())
            log_.write(u"Corvid: failed to open "_s + path + u" in "_s + name + u": "_s + error);
    };
    if (isTerminal(editor))
        workspace_.openTerminal(project.path, editor.path, logFailure);
    else
        workspace_.openFiles({project.path}, editor.path, logFailure);
}

} // namespace corvid
