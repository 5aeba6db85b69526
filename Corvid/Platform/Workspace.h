#pragma once

#include "Platform/DesktopEntries.h"
#include "Platform/Image.h"
#include "Platform/Port.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>
#include <vector>

namespace corvid {

/**
 * The desktop's application service: what runs, what things look like, opening and revealing
 * them. An application is named by its path: an absolute path of a desktop entry file
 * ("….desktop"), of an application bundle ("….app") or of an AppImage ("….AppImage").
 *
 * Main thread, except setEntries() and icon(). Opening never blocks and never raises a dialog of
 * ours.
 */
class Workspace : public Port {
public:
    /** Called on the main thread when an opening has been carried out; empty means success,
        else the reason in words. */
    using Completion = std::function<void(const QString &error)>;

    /** Tells which desktop entries there are, after each listing of them: what runs is told apart
        by them. Until the first time no application with an entry is known to run. Any thread. */
    virtual void setEntries(const std::vector<DesktopEntry> &entries) = 0;

    /** Bundle identifiers (desktop ids) of the running applications. Kept up to date by events:
        asking costs no system call. The reference is valid until control returns to the loop. */
    virtual const QSet<QString> &runningApplications() const = 0;

    /** The icon of an application or of a file or folder, 32 × 32 device-independent pixels. Slow
       (theme lookup, decoding), any thread. Never null: an unknown path has a generic icon. */
    virtual Image icon(const QString &path) const = 0;

    /** The icon that stands in until the real one has been fetched. Immediate, never null. */
    virtual Image genericIcon() const = 0;

    /** Brings the application to the front where it already runs, else starts it. */
    virtual void openApplication(const QString &applicationPath, const Completion &done) = 0;

    /** Opens one more window of an application, by its own way of doing so where it has one. */
    virtual void openNewWindow(const QString &applicationPath, const Completion &done) = 0;

    /** Starts an application for one of the actions that its entry lists, by the action's id. */
    virtual void runAction(const QString &applicationPath, const QString &action,
                           const Completion &done) = 0;

    /** Opens a file or folder with its default handler. Never runs a file that is a program. */
    virtual void open(const QString &path) = 0;

    /** Opens files or folders with one application. */
    virtual void openFiles(const QStringList &paths, const QString &applicationPath,
                           const Completion &done) = 0;

    /** Opens a window of a terminal in a folder. Here `terminalPath` may also be a program's. */
    virtual void openTerminal(const QString &folder, const QString &terminalPath,
                              const Completion &done) = 0;

    struct Terminal {
        QString name; ///< as the user knows it
        QString path; ///< an application's, or its program's where it is no application
    };

    /** Looks for the terminal that the user, else the desktop prefers. `found` is called on the
       main thread, later; with nothing where there is no terminal. */
    virtual void
    findTerminal(const std::function<void(const std::optional<Terminal> &)> &found) = 0;

    virtual void openUrl(const QUrl &url) = 0;

    /** Shows the file or folder selected in the file manager. */
    virtual void reveal(const QString &path) = 0;

    /** Starts a program as a child with its three standard streams on the null device, and does
        not wait for its end; it outlives us. `done` tells whether it could be started. */
    virtual void startTool(const QString &executable, const QStringList &arguments,
                           const Completion &done) = 0;
};

} // namespace corvid
