#include "Search/PathLookup.h"

#include "Platform/Volumes.h"

#include <QFile>

#include <utility>

#include <sys/stat.h>

namespace corvid {

namespace {

std::optional<PathKind> kindOnDisk(const QString &path) {
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    if (S_ISDIR(status.st_mode))
        return PathKind::Folder;
    return S_ISREG(status.st_mode) ? std::optional(PathKind::File) : std::nullopt;
}

} // namespace

PathLookup::PathLookup(const Volumes &volumes, std::function<void()> onFound)
    : volumes_(volumes), onFound_(std::move(onFound)) {}

std::optional<PathKind> PathLookup::kindOf(const QString &path) {
    if (path == asked_)
        return found_;
    forget();
    asked_ = path;
    group_.start([this, request = Request{latest_, path}](const std::stop_token &stop) {
        look(request, stop);
    });
    return std::nullopt;
}

void PathLookup::forget() {
    ++latest_;
    asked_.clear();
    found_.reset();
}

void PathLookup::look(Request request, const std::stop_token &stop) {
    const int volume = volumes_.volume(request.path);
    std::optional<Request> next = startOrWait(volume, std::move(request));
    for (; next && !stop.stop_requested(); next = nextOn(volume)) {
        if (next->number != latest_)
            continue;
        const std::optional<PathKind> kind = kindOnDisk(next->path);
        if (!kind)
            continue;
        const auto handOver = [this, kind, number = next->number] {
            if (number != latest_)
                return;
            found_ = kind;
            onFound_();
        };
        QMetaObject::invokeMethod(&receiver_, handOver, Qt::QueuedConnection);
    }
}

std::optional<PathLookup::Request> PathLookup::startOrWait(int volume, Request request) {
    const std::scoped_lock lock(mutex_);
    const auto [task, isFree] = tasks_.try_emplace(volume);
    if (isFree)
        return request;
    // Tasks may overtake each other on their way here.
    std::optional<Request> &waiting = task->second;
    if (!waiting || waiting->number < request.number)
        waiting = std::move(request);
    return std::nullopt;
}

std::optional<PathLookup::Request> PathLookup::nextOn(int volume) {
    const std::scoped_lock lock(mutex_);
    const auto task = tasks_.find(volume);
    std::optional<Request> next = std::exchange(task->second, std::nullopt);
    if (!next)
        tasks_.erase(task);
    return next;
}

} // namespace corvid
