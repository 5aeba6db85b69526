#include "Platform/Linux/ApplicationLauncher.h"

#include "Platform/Linux/LaunchTasks.h"

namespace corvid {

using launching::World;

void ApplicationLauncher::CancellableUnref::operator()(GCancellable *cancellable) const {
    g_object_unref(cancellable);
}

ApplicationLauncher::ApplicationLauncher(const QProcessEnvironment &childEnvironment)
    : environment_(childEnvironment), shutdown_(g_cancellable_new()) {}

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
    tasks_.start([=, this, world = World{environment_, shutdown_.get()}](const std::stop_token &) {
        const QString error = launch(world);
        if (done)
            QMetaObject::invokeMethod(
                &receiver_, [done, error] { done(error); }, Qt::QueuedConnection);
    });
}

void ApplicationLauncher::openWithDefault(const QUrl &url) {
    tasks_.start([url, world = World{environment_, shutdown_.get()}](const std::stop_token &) {
        launching::openWithDefault(world, url);
    });
}

void ApplicationLauncher::reveal(const QString &path) {
    tasks_.start([path, world = World{environment_, shutdown_.get()}](const std::stop_token &) {
        launching::reveal(world, path);
    });
}

void ApplicationLauncher::startTool(const QString &executable, const QStringList &arguments,
                                    const Workspace::Completion &done) {
    start([=](const World &world) { return launching::startTool(world, executable, arguments); },
          done);
}

} // namespace corvid
