#pragma once

#include "Base/FileDescriptor.h"

#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <optional>

namespace corvid {

/**
 * Tells when applications come to lie in a folder, change or leave it, by the kernel's events: no
 * thread, no timer, and nothing happens while nothing changes. GIO's monitors would look every few
 * seconds for a folder that does not exist yet, and see none that the session's environment lacks.
 *
 * Made and destroyed on the main thread, whose event loop the callback comes from. Folders that
 * cannot be watched, for want of memory or because of the file system, are not.
 */
class FolderWatch {
public:
    /** `onChange` is called when a desktop entry, an AppImage or a folder may be another one. */
    explicit FolderWatch(std::function<void()> onChange);

    /** Watches a folder, but none below it; where it does not exist, the nearest one above it that
        does, in which it or a part of its path may appear. Blocks on the disk; any thread. Those
        that are watched already stay so. */
    void add(const QString &folder) const;

private:
    void read();

    FileDescriptor events_; ///< of inotify
    std::function<void()> onChange_;
    std::optional<QSocketNotifier> notifier_;
};

} // namespace corvid
