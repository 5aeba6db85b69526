#pragma once

#include "Base/AtomicFile.h"
#include "Base/Records.h"
#include "Base/RegularFile.h"
#include "Base/TaskGroup.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace corvid {

/** A cache file holds one JSON array of records. Decoding is all or nothing: bytes that are not
    such an array, or one record that is not whole, yield an empty list. */
template <typename Record>
std::vector<Record> decodeRecords(const QByteArray &json) {
    const QJsonArray array = QJsonDocument::fromJson(json).array();
    std::vector<Record> records;
    records.reserve(static_cast<size_t>(array.size()));
    for (const auto &element : array) {
        std::optional<Record> record = fromJson<Record>(element);
        if (!record)
            return {};
        records.push_back(*std::move(record));
    }
    return records;
}

template <typename Record>
QByteArray encodeRecords(const std::vector<Record> &records) {
    QJsonArray array;
    for (const Record &record : records)
        array.append(toJson(record));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

/** Empty when the file is missing, unreadable, damaged or unreasonably large. Blocks on the disk;
    any thread. */
template <typename Record>
std::vector<Record> readCache(const QString &path) {
    constexpr qint64 most = 256 * 1024 * 1024; // some hundred times what anybody's holds
    return decodeRecords<Record>(readRegularFile(path, most).value_or(QByteArray()));
}

/** Whether reading the cache, and preparing what it holds for searching, takes so little time (4 ms
    at most on a slow machine) that the main thread can do it. Holds for 1,000 applications or 3,000
    projects. */
inline bool isQuickToRead(const QString &path) {
    constexpr qint64 most = 384 * 1024;
    return QFileInfo(path).size() <= most;
}

/** A cache that cannot be written is lost, nothing more. Blocks on the disk; any thread. */
template <typename Record>
void writeCache(const QString &path, const std::vector<Record> &records) {
    writeFileAtomically(path, encodeRecords(records));
}

/**
 * Writes a cache file in the background: one write at a time, and of the lists that wait for it
 * only the newest, so that the file ends as the list that was handed over last. Main thread.
 */
template <typename Record>
class CacheWriter {
public:
    using Records = std::shared_ptr<const std::vector<Record>>;

    /** The tasks must end before this does. */
    void write(TaskGroup &tasks, const QString &path, Records records) {
        {
            const std::scoped_lock lock(mutex_);
            next_ = std::move(records);
            if (std::exchange(writing_, true))
                return;
        }
        tasks.start([this, path](const std::stop_token &) {
            while (const auto list = takeNext())
                writeCache(path, *list);
        });
    }

private:
    Records takeNext() {
        const std::scoped_lock lock(mutex_);
        writing_ = next_ != nullptr;
        return std::exchange(next_, nullptr);
    }

    std::mutex mutex_;
    Records next_;
    bool writing_ = false;
};

} // namespace corvid
