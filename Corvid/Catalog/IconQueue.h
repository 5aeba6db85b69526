#pragma once

#include <QSet>
#include <QStringList>

#include <mutex>
#include <optional>
#include <utility>

namespace corvid {

/** The paths whose icons a task fetches, in their order except that urgent ones go first. Each
    path is handed out once. Any thread. */
class IconQueue {
public:
    explicit IconQueue(QStringList paths) : paths_(std::move(paths)) {}

    /** Makes a path urgent. False when the task has run out of paths and fetches no more. */
    bool fetchNext(const QString &path) {
        const std::scoped_lock lock(mutex_);
        if (ended_)
            return false;
        // Asked at every key stroke for every row whose icon has not arrived yet.
        if (!taken_.contains(path) && !urgent_.contains(path))
            urgent_.append(path);
        return true;
    }

    /** The next path; nothing when there is none, and from then on. */
    std::optional<QString> take() {
        const std::scoped_lock lock(mutex_);
        while (!ended_ && !(urgent_.isEmpty() && paths_.isEmpty())) {
            QString path = urgent_.isEmpty() ? paths_.takeFirst() : urgent_.takeFirst();
            if (taken_.contains(path))
                continue;
            taken_.insert(path);
            return path;
        }
        ended_ = true;
        return std::nullopt;
    }

    void end() {
        const std::scoped_lock lock(mutex_);
        ended_ = true;
    }

private:
    std::mutex mutex_;
    QStringList paths_;
    QStringList urgent_;
    QSet<QString> taken_;
    bool ended_ = false;
};

} // namespace corvid
