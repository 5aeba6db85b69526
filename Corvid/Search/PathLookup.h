#pragma once

#include "Base/TaskGroup.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace corvid {

class Volumes;

/** What a path leads to. Pipes, sockets and devices are neither. */
enum class PathKind { Folder, File };

/**
 * Finds out, in the background, whether a path that is being typed is there. One path is of
 * interest at a time: the one that was asked for last. Each volume is looked at by one task at
 * most, so that one that never answers keeps a single thread; of the paths that wait for it
 * meanwhile, the newest is looked at next. What cannot be looked at is not there. Main thread only,
 * and needs an event loop, through which answers arrive. The destructor waits for a look that has
 * begun.
 */
class PathLookup {
public:
    /** The volumes are asked on any thread, and outlive the lookup. `onFound` is called when
        kindOf() has an answer that it had not given before. */
    PathLookup(const Volumes &volumes, std::function<void()> onFound);

    /** What there is at an absolute path. Absent where there is nothing, and as long as that is not
        known: then it is being found out. */
    std::optional<PathKind> kindOf(const QString &path);

    /** Nobody is interested any more: asked again, the path is looked at anew. */
    void forget();

private:
    struct Request {
        quint64 number = 0; ///< grows with each
        QString path;
    };

    void look(Request request, const std::stop_token &stop);
    std::optional<Request> startOrWait(int volume, Request request);
    std::optional<Request> nextOn(int volume);

    const Volumes &volumes_;
    const std::function<void()> onFound_;
    QString asked_;
    std::optional<PathKind> found_; ///< at asked_
    std::atomic<quint64> latest_ = 0;

    std::mutex mutex_;                            ///< guards what follows
    std::map<int, std::optional<Request>> tasks_; ///< by the volume looked at: what waits for it

    QObject receiver_; ///< of what the tasks hand over
    TaskGroup group_;
};

} // namespace corvid
