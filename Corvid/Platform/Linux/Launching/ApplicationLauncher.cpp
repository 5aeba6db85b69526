#include "Platform/Linux/Launching/ApplicationLauncher.h"

#include "Platform/Linux/Launching/LaunchTasks.h"
#include "Platform/Linux/Launching/StartupNotifier.h"

#include <utility>

namespace corvid {

using launching::World;

void ApplicationLauncher::CancellableUnref::operator()(GCancellable *cancellable) const {
    g_object_unref(cancellable);
}

ApplicationLauncher::ApplicationLauncher(const QProcessEnvironment &childEnvironment,
                                         QByteArray display,
                                         std::function<QByteArray()> activationToken)
    : environment_(childEnvironment), display_(std::move(display)),
      activationToken_(std::move(activationToken)), shutdown_(g_cancellable_new()) {}

ApplicationLauncher::~ApplicationLauncher() {
    g_cancellable_cancel(shutdown_.get());
}

void ApplicationLauncher::launch(const QString &applicationPath, const QStringList &files,
                                 const Workspace::Completion &done) {
    QList<QUrl> urls;
    for (const QString &file : files)
        urls.append(QUrl::fromLocalFile(file));
    start([=](const World &world) { return launchApplication(world, applicationPath, urls); },
          done);
}

void ApplicationLauncher::launchNewWindow(const QString &applicationPath,
                                          const Workspace::Completion &done) {
    start([=](const World &world) { return launching::launchNewWindow(world, applicationPath); },
          done);
}

void ApplicationLauncher::start(const std::function<QString(const World &)> &launch,
                                const Workspace::Completion &done) {
    const QByteArray token = activationToken_ ? activationToken_() : QByteArray();
    tasks_.start([=, this, environment = environment_, display = display_,
                  shutdown = shutdown_.get()](const std::stop_token &) {
        StartupNotifier startups(display);
        const QString error = launch({environment, shutdown, &startups, token});
        if (done)
            QMetaObject::invokeMethod(
                &receiver_, [done, error] { done(error); }, Qt::QueuedConnection);
        GPollFD ended;
        if (g_cancellable_make_pollfd(shutdown, &ended)) {
            startups.finish(ended.fd);
            g_cancellable_release_fd(shutdown);
        }
    });
}

void ApplicationLauncher::openWithDefault(const QUrl &url) {
    start([url](const World &world) { return launching::openWithDefault(world, url); }, {});
}

void ApplicationLauncher::reveal(const QString &path) {
    start([path](const World &world) { return launching::reveal(world, path); }, {});
}

void ApplicationLauncher::startTool(const QString &executable, const QStringList &arguments,
                                    const Workspace::Completion &done) {
    start([=](const World &world) { return launching::startTool(world, executable, arguments); },
          done);
}

} // namespace corvid
