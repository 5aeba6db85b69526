#pragma once

#include "Base/TaskGroup.h"
#include "Platform/Linux/Icons/IconLoader.h"
#include "Platform/Linux/Launching/ChildEnvironment.h"
#include "Platform/Linux/Running/RunningApplications.h"
#include "Platform/Workspace.h"

#include <QByteArray>
#include <QObject>

namespace corvid {

struct Launch;

/**
 * The workspace of a Linux desktop: its icon theme, its list of windows, and what is launched.
 *
 * What it starts lives on when we end: in a session of its own and, where a systemd user manager
 * runs, in a scope of its own. Launching happens in the background; a completion is called from the
 * event loop, or never once the workspace is destroyed. Destroying it lets a launch that has begun
 * come to its end, but does not wait for a silent bus.
 */
class SessionWorkspace final : public Workspace {
public:
    struct Options {
        /** Of the programs that are started: ours at the start, before any change. */
        ChildEnvironment childEnvironment;
        /** Whose windows tell what runs, and the X11 one of which is told of launches. */
        RunningApplications::Displays displays;
        /** Asked within each call for what lets the program come to the front. Null, or without an
            answer, the X11 display is told. See WindowSystem. */
        std::function<QByteArray()> activationToken;
        /** For which icons are drawn: the highest of the screens. */
        qreal devicePixelRatio = 1;
        /** What draws icons for the first time, see IconLoader. */
        QString pictureProgram{};
    };

    /** `entries`, where a terminal is looked for, must outlive this. */
    SessionWorkspace(const DesktopEntries &entries, const Options &options);

    /** Begins to watch what runs; until then nothing does. Once. */
    void start() { running_.start(); }

    /** Nobody waits for an icon from now on: the program is about to end. */
    void endIcons() { icons_.end(); }

    void setEntries(const std::vector<DesktopEntry> &entries) override {
        running_.setEntries(entries);
    }
    const QSet<QString> &runningApplications() const override { return running_.ids(); }
    Image icon(const QString &path) const override { return icons_.icon(path); }
    Image genericIcon() const override { return icons_.genericIcon(); }

    void openApplication(const QString &applicationPath, const Completion &done) override;
    /** By the entry's action for a new window where it has one, else by its Exec line, even where
        it would be activated over D-Bus. */
    void openNewWindow(const QString &applicationPath, const Completion &done) override;
    /** Over the bus where the entry asks for that and the service exists, else by the action's own
        Exec line. */
    void runAction(const QString &applicationPath, const QString &action,
                   const Completion &done) override;
    void open(const QString &path) override { openUrl(QUrl::fromLocalFile(path)); }
    /** Also without files. A single folder opens as the application opens folders, see
        folderArguments(). A desktop entry: by D-Bus activation where it asks for that and the
        service exists, else by its Exec line, in a terminal if need be. A bundle: by its
        executable. An AppImage is executed. */
    void openFiles(const QStringList &paths, const QString &applicationPath,
                   const Completion &done) override;
    void openTerminal(const QString &folder, const QString &terminalPath,
                      const Completion &done) override;
    /** See defaultTerminal(). */
    void findTerminal(const std::function<void(const std::optional<Terminal> &)> &found) override;
    /** With the default handler of a file's type or a URL's scheme, else by xdg-open. A folder:
        with the first handler that is a file manager, else the one on the bus, before all others.
        A program, a script or a desktop entry is never run: it is opened as text where it is one,
        else shown in the file manager. Failures are silent. */
    void openUrl(const QUrl &url) override;
    /** Opens the file's folder where no file manager can show the file. */
    void reveal(const QString &path) override;
    /** The program starts in our own working folder. */
    void startTool(const QString &executable, const QStringList &arguments,
                   const Completion &done) override;

private:
    void inBackground(const Completion &done, const std::function<QString(const Launch &)> &task);

    const Options options_;
    const DesktopEntries &entries_;
    IconLoader icons_;
    RunningApplications running_;
    QObject receiver_; ///< completions addressed to it are dropped with us
    TaskGroup tasks_;
};

} // namespace corvid
