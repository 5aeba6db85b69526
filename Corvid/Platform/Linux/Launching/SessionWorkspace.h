#pragma once

#include "Platform/Linux/Icons/IconLoader.h"
#include "Platform/Linux/Launching/ApplicationLauncher.h"
#include "Platform/Linux/Running/RunningApplications.h"
#include "Platform/Workspace.h"

#include <QByteArray>
#include <QProcessEnvironment>

#include <functional>

namespace corvid {

class DesktopEntries;

/** The workspace of a Linux desktop: GIO and the session bus, the icon theme, the window
    manager's or compositor's list. */
class SessionWorkspace final : public Workspace {
public:
    struct Options {
        /** Of the programs that are started: ours at the start, before any change. */
        QProcessEnvironment childEnvironment;
        /** Whose windows tell what runs, and the X11 one of which is told of launches. */
        RunningApplications::Displays displays;
        /** See WindowSystem; may be null. */
        std::function<QByteArray()> activationToken;
        /** For which icons are drawn: the highest of the screens. */
        qreal devicePixelRatio = 1;
    };

    /** `entries` must outlive this. */
    SessionWorkspace(const DesktopEntries &entries, const Options &options);

    /** Begins to watch what runs; until then nothing does. Once. */
    void start();

    const QSet<QString> &runningApplications() const override;
    Image icon(const QString &path) const override;
    Image genericIcon() const override;

    /** Brings the application to the front when it has a window, else starts it. */
    void openApplication(const QString &applicationPath, const Completion &done) override;
    void openNewWindow(const QString &applicationPath, const Completion &done) override;
    void open(const QString &path) override;
    void openFiles(const QStringList &paths, const QString &applicationPath,
                   const Completion &done) override;
    void openUrl(const QUrl &url) override;
    void reveal(const QString &path) override;
    void startTool(const QString &executable, const QStringList &arguments,
                   const Completion &done) override;

private:
    IconLoader icons_;
    RunningApplications running_;
    ApplicationLauncher launcher_;
};

} // namespace corvid
