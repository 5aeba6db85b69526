#pragma once

#include "Platform/Linux/Icons/IconLoader.h"
#include "Platform/Linux/Launching/ApplicationLauncher.h"
#include "Platform/Linux/Running/RunningApplications.h"
#include "Platform/Workspace.h"

namespace corvid {

class DesktopEntries;

/** The workspace of a Linux desktop: its icon theme, its list of windows, and what is launched. */
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
    void start() { running_.start(); }

    const QSet<QString> &runningApplications() const override { return running_.ids(); }
    Image icon(const QString &path) const override { return icons_.icon(path); }
    Image genericIcon() const override { return icons_.genericIcon(); }

    /** Brings the application to the front when it has a window, else starts it. */
    void openApplication(const QString &applicationPath, const Completion &done) override;
    void openNewWindow(const QString &applicationPath, const Completion &done) override {
        launcher_.launchNewWindow(applicationPath, done);
    }
    void open(const QString &path) override { openUrl(QUrl::fromLocalFile(path)); }
    void openFiles(const QStringList &paths, const QString &applicationPath,
                   const Completion &done) override {
        launcher_.launch(applicationPath, paths, done);
    }
    void openUrl(const QUrl &url) override { launcher_.openWithDefault(url); }
    void reveal(const QString &path) override { launcher_.reveal(path); }
    void startTool(const QString &executable, const QStringList &arguments,
                   const Completion &done) override {
        launcher_.startTool(executable, arguments, done);
    }

private:
    IconLoader icons_;
    RunningApplications running_;
    ApplicationLauncher launcher_;
};

} // namespace corvid
