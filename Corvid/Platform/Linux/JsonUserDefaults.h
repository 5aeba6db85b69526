#pragma once

#include "Base/Locations.h"
#include "Platform/UserDefaults.h"

#include <QByteArray>
#include <QJsonObject>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace corvid {

/** The object that the bytes of a defaults file stand for; no bytes stand for an empty one. Absent
    when they are damaged. Pure. */
std::optional<QJsonObject> decodeDefaults(const QByteArray &bytes);

/** The bytes of a file that holds the object, indented for the eye unless that makes it too large
    to be read back. Pure. */
QByteArray encodeDefaults(const QJsonObject &object);

/**
 * The user defaults as one JSON object in a file that people edit by hand and several processes
 * share. A missing, unreadable or damaged file reads as empty; one of more than 1 MiB, or nested
 * deeper than any of ours, counts as damaged.
 *
 * Reading asks the file system whether the file is still the one that was parsed last, and
 * parses it again only when it is not. Writing happens on a thread of the object's own: under
 * the advisory lock of "<file>.lock" it reads the file afresh, applies the waiting changes in
 * their order and replaces the file as a whole. Until a change is in the file, value() shows it
 * all the same. A damaged file is moved to "<file>.damaged-<UTC time>" before it is replaced.
 *
 * Changes that cannot be written (no space, no permission, a lock held for seconds, a file that
 * somebody keeps rewriting) stay visible in this process. They are tried again with the next
 * update, the next synchronize(), by themselves after pauses that grow to five minutes, and at last
 * by the destructor, which is where they are lost.
 */
class JsonUserDefaults final : public UserDefaults {
public:
    /** `firstPause`: before what could not be written is tried again. */
    explicit JsonUserDefaults(QString file = locations::configuration() +
                                             QStringLiteral("/Corvid/defaults.json"),
                              std::chrono::milliseconds firstPause = std::chrono::seconds(10));
    /** Blocks until the waiting changes are written. */
    ~JsonUserDefaults() override;

    QJsonValue value(const QString &key) const override;
    void update(const QString &key, const Change &change) override;
    quint64 generation() const override;
    /** Also returns when a waiting change could not be written. */
    void synchronize() override;

private:
    /** Tells one state of the file from another without reading it. */
    struct Stamp {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = 0;
        qint64 modified = 0; ///< nanoseconds
        qint64 changed = 0;  ///< nanoseconds; unlike `modified`, nobody can set it

        static std::optional<Stamp> of(const QString &file);
        bool operator==(const Stamp &) const = default;
    };

    struct PendingChange {
        QString key;
        Change change;
        QJsonValue shown; ///< what it made of the value that this process saw
    };

    void readIfChanged() const;
    void writeChanges(const std::stop_token &stop);
    bool write(const std::deque<PendingChange> &changes) const;

    const QString file_;
    const std::chrono::milliseconds firstPause_;

    // What the main thread sees; brought up to date whenever it asks.
    mutable QJsonObject stored_;
    mutable std::optional<Stamp> stamp_;
    mutable bool settled_ = false; ///< no later state of the file can carry the same stamp

    mutable std::atomic<quint64> generation_ = 0;

    // Shared with the writer, guarded by the mutex.
    mutable std::mutex mutex_;
    std::condition_variable_any wake_;
    std::condition_variable attempted_;
    std::deque<PendingChange> waiting_;
    quint64 attemptsWanted_ = 0;
    quint64 attemptsMade_ = 0;

    std::jthread writer_; // last: it ends before what it uses
};

} // namespace corvid
