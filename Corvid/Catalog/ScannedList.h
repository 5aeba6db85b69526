#pragma once

#include "Base/Locations.h"
#include "Base/TaskGroup.h"
#include "Catalog/JsonCache.h"
#include "Search/SearchIndex.h"

#include <QObject>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

namespace corvid {

/**
 * A list that scans in the background fill, and the cache that holds it for the next run. Main
 * thread only, and needs an event loop, through which lists arrive. What cannot be read or written
 * is no cache. The destructor stops the scans and waits for them.
 */
template <typename Record>
class ScannedList {
public:
    using Records = std::vector<Record>;
    /** A list and what is prepared from it, both made in the background. */
    struct Snapshot {
        explicit Snapshot(Records list)
            : records(withSharedTexts(std::move(list))), searchIndex(records) {}

        const Records records;
        SearchIndex searchIndex; ///< follows the usage, once shown
    };
    using SharedSnapshot = std::shared_ptr<Snapshot>;
    /** The list of the last run, empty when there is none; its destructor waits for it. */
    struct Cached {
        std::shared_future<SharedSnapshot> list;
        bool isQuick = true; ///< whether the main thread can wait for it
    };
    using Scan = std::function<Records(const std::stop_token &)>;
    enum class Source { Cache, Scan };

    /** `onReplaced` follows each replacement of the list, `onScanned` the end of each scan,
        whatever it found. Both may scan again. */
    explicit ScannedList(std::function<void(Source)> onReplaced,
                         std::function<void()> onScanned = nullptr)
        : onReplaced_(std::move(onReplaced)), onScanned_(std::move(onScanned)) {}

    /** Starts to read the cache, once `before` has returned. Any thread; needs no event loop. */
    static Cached readCache(std::function<void()> before = [] {}) {
        // Reading it, and preparing what it holds for searching, takes 4 ms at most on a slow
        // machine. Holds for 1,000 applications or 3,000 projects.
        constexpr qint64 mostIfQuick = (std::is_same_v<Record, AppEntry> ? 512 : 384) * 1024;
        std::optional<OpenedFile> file = openRegularFile(cachePath());
        const bool isQuick = !file || file->size() <= mostIfQuick;
        return {std::async(std::launch::async,
                           [file = std::move(file), before = std::move(before)] {
                               before();
                               return std::make_shared<Snapshot>(corvid::readCache<Record>(file));
                           }),
                isQuick};
    }

    /** The present list, empty at first. Valid until the next replacement. */
    Snapshot *operator->() const { return snapshot_.get(); }

    /** Shows the cached list unless it is empty. One too large to be waited for is shown when it
        is read, unless a scan was faster or this was called again. */
    void showCached(Cached cached) {
        ++generation_;
        if (cached.isQuick) {
            if (SharedSnapshot list = cached.list.get(); !list->records.empty())
                replace(std::move(list), Source::Cache);
            return;
        }
        tasks_.start([this, generation = generation_,
                      reading = std::make_shared<Cached>(std::move(cached))](const auto &) {
            later([this, generation, list = reading->list.get()]() mutable {
                if (generation == generation_ && !list->records.empty())
                    replace(std::move(list), Source::Cache);
                else
                    discard(std::move(list));
            });
        });
    }

    /** Starts a scan, whose result is shown and cached, unless it is the list that is shown: that
        one stays then. Scans may overlap; the one that ends last counts. */
    void start(Scan scan) {
        ++starts_;
        run(std::move(scan), Reason::Start);
    }

    /** Scans again behind everything else, and shows and caches what differs from the list that is
        shown now; what was found is dropped when start() was called meanwhile. Returns false, and
        does nothing, while a scan is under way, be it for ever. */
    bool refresh(Scan scan) {
        if (scansUnderWay_ > 0)
            return false;
        run(std::move(scan), Reason::Refresh);
        return true;
    }

private:
    static QString cachePath() {
        constexpr bool isOfApps = std::is_same_v<Record, AppEntry>;
        return locations::cacheFile(isOfApps ? QStringLiteral("catalog.json")
                                             : QStringLiteral("projects.json"));
    }

    enum class Reason { Start, Refresh };

    /** Scans in the background. */
    void run(Scan scan, Reason reason) {
        ++scansUnderWay_;
        auto task = [this, scan = std::move(scan), reason, starts = starts_,
                     known = snapshot_](const std::stop_token &stop) {
            Records records = scan(stop);
            // Half a scan is no result; whoever asked it to stop is waiting to be destroyed.
            if (stop.stop_requested())
                return;
            const bool isNew = known->records != records;
            later([this, starts, reason, isNew,
                   list = isNew ? std::make_shared<Snapshot>(std::move(records)) : known] {
                --scansUnderWay_;
                if (reason == Reason::Start || (isNew && starts == starts_))
                    install(list);
                else if (isNew)
                    discard(list);
                if (onScanned_)
                    onScanned_();
            });
        };
        // Nobody waits for it while there is a list to choose from.
        const bool isAwaited = reason == Reason::Start && snapshot_->records.empty();
        tasks_.start(std::move(task), isAwaited ? TaskPriority::Normal : TaskPriority::Utility);
    }

    void install(const SharedSnapshot &list) {
        ++generation_;
        // A list that was read is what the file holds, as long as nothing was written: then it may
        // have been read before that. An empty one may be of a file that could not be read.
        const bool isStored = lastWrite_ == 0 && list == snapshot_ && !list->records.empty();
        replace(list, Source::Scan);
        if (!isStored)
            write(list);
    }

    /** Runs it in the main thread, called from any. */
    template <typename Function>
    void later(Function function) {
        QMetaObject::invokeMethod(&receiver_, std::move(function), Qt::QueuedConnection);
    }

    void replace(SharedSnapshot list, Source source) {
        if (list != snapshot_)
            discard(std::exchange(snapshot_, std::move(list)));
        onReplaced_(source);
    }

    // Taking a long list apart takes long, too.
    void discard(SharedSnapshot list) {
        tasks_.start([list = std::move(list)](const auto &) {});
    }

    // One write at a time, and of the lists that wait for it only the newest: the file ends as the
    // list that was shown last.
    void write(SharedSnapshot list) {
        tasks_.start([this, list = std::move(list), path = cachePath(),
                      number = ++lastWrite_](const auto &) {
            const std::scoped_lock lock(writing_);
            if (number == lastWrite_)
                writeCache(path, list->records);
        });
    }

    const std::function<void(Source)> onReplaced_;
    const std::function<void()> onScanned_;
    SharedSnapshot snapshot_ = std::make_shared<Snapshot>(Records());
    quint64 generation_ = 0; ///< of what is shown: grows with each showCached() and scan's end
    quint64 starts_ = 0;     ///< of start()
    int scansUnderWay_ = 0;
    std::atomic<quint64> lastWrite_ = 0;
    std::mutex writing_;
    QObject receiver_; ///< of what the tasks hand over
    TaskGroup tasks_;
};

} // namespace corvid
