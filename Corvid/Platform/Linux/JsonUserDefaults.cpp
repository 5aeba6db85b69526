#include "Platform/Linux/JsonUserDefaults.h"

#include "Base/AtomicFile.h"
#include "Base/Json.h"
#include "Base/RegularFile.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include <sys/file.h>
#include <sys/stat.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// A thousand times what it needs, and still parsed before anybody notices.
constexpr qint64 largestDefaults = 1024 * 1024;
// An editor saves once; what goes on changing is tried again later.
constexpr int mostRewrites = 10;
constexpr std::chrono::milliseconds longestRetryPause = std::chrono::minutes(5);

qint64 nanoseconds(const timespec &time) {
    return std::chrono::nanoseconds(std::chrono::seconds(time.tv_sec)).count() + time.tv_nsec;
}

// The clock that file times are taken from: it advances a few milliseconds at a time.
qint64 fileSystemTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return nanoseconds(now);
}

struct StoredDefaults {
    QJsonObject object; ///< empty when there is no file, or a damaged one
    bool isDamaged = false;
};

// Absent when there is something that cannot be read.
std::optional<StoredDefaults> readDefaults(const QString &path) {
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0 && errno == ENOENT)
        return StoredDefaults();
    const std::optional<OpenedFile> file = openRegularFile(path);
    if (!file)
        return std::nullopt;
    if (file->size() > largestDefaults)
        return StoredDefaults{{}, true};
    const std::optional<QByteArray> bytes = file->read();
    if (!bytes)
        return std::nullopt;
    const std::optional<QJsonObject> object = decodeDefaults(*bytes);
    return StoredDefaults{object.value_or(QJsonObject()), !object};
}

} // namespace

std::optional<QJsonObject> decodeDefaults(const QByteArray &bytes) {
    if (bytes.isEmpty())
        return QJsonObject();
    const QJsonDocument document = json::fromFile(bytes);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

QByteArray encodeDefaults(const QJsonObject &object) {
    const QJsonDocument document(object);
    QByteArray bytes = json::toFile(document, QJsonDocument::Indented);
    return bytes.size() <= largestDefaults ? bytes : json::toFile(document, QJsonDocument::Compact);
}

std::optional<JsonUserDefaults::Stamp> JsonUserDefaults::Stamp::of(const QString &file) {
    struct stat status = {};
    if (stat(QFile::encodeName(file).constData(), &status) != 0)
        return std::nullopt;
    return Stamp{status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
                 nanoseconds(status.st_ctim)};
}

JsonUserDefaults::JsonUserDefaults(QString file, std::chrono::milliseconds firstPause)
    : file_(std::move(file)), firstPause_(firstPause),
      writer_([this](const std::stop_token &stop) { writeChanges(stop); }) {}

JsonUserDefaults::~JsonUserDefaults() {
    synchronize();
}

QJsonValue JsonUserDefaults::value(const QString &key) const {
    {
        // Before the file is read: once a change counts as written, only the file shows it.
        const std::lock_guard lock(mutex_);
        const auto latest =
            std::ranges::find(waiting_.rbegin(), waiting_.rend(), key, &PendingChange::key);
        if (latest != waiting_.rend())
            return latest->shown;
    }
    readIfChanged();
    return stored_.value(key);
}

void JsonUserDefaults::update(const QString &key, const Change &change) {
    const QJsonValue before = value(key);
    const QJsonValue after = change(before);
    if (after == before)
        return;
    ++generation_;
    {
        const std::lock_guard lock(mutex_);
        waiting_.push_back({key, change, after});
        ++attemptsWanted_;
    }
    wake_.notify_one();
}

quint64 JsonUserDefaults::generation() const {
    readIfChanged();
    return generation_;
}

void JsonUserDefaults::synchronize() {
    std::unique_lock lock(mutex_);
    if (waiting_.empty())
        return;
    const quint64 attempt = ++attemptsWanted_;
    wake_.notify_one();
    attempted_.wait(lock, [&] { return attemptsMade_ >= attempt; });
}

void JsonUserDefaults::readIfChanged() const {
    const qint64 now = fileSystemTime();
    const std::optional<Stamp> stamp = Stamp::of(file_);
    if (settled_ && stamp == stamp_)
        return;
    stamp_ = stamp;
    // A file that was changed in this very tick of the clock can change again without a trace.
    settled_ = !stamp || stamp->changed < now;
    QJsonObject object = readDefaults(file_).value_or(StoredDefaults()).object;
    if (object == stored_)
        return;
    stored_ = std::move(object);
    ++generation_;
}

void JsonUserDefaults::writeChanges(const std::stop_token &stop) {
    const auto isWanted = [this] { return attemptsMade_ < attemptsWanted_; };
    std::chrono::milliseconds pause = firstPause_;
    std::unique_lock lock(mutex_);
    while (true) {
        if (waiting_.empty())
            wake_.wait(lock, stop, isWanted);
        else
            wake_.wait_for(lock, stop, pause, isWanted);
        if (stop.stop_requested() && !isWanted())
            return;
        const quint64 attempt = attemptsWanted_;
        const std::deque<PendingChange> changes = waiting_;
        lock.unlock();
        const bool written = changes.empty() || write(changes);
        lock.lock();
        pause = written ? firstPause_ : std::min(2 * pause, longestRetryPause);
        if (written) {
            waiting_.erase(waiting_.begin(), waiting_.begin() + std::ssize(changes));
            // Merged with what others wrote, a value may differ from the one that was shown.
            ++generation_;
        }
        attemptsMade_ = attempt;
        attempted_.notify_all();
    }
}

bool JsonUserDefaults::write(const std::deque<PendingChange> &changes) const {
    if (!makePrivateFolders(QFileInfo(file_).path()))
        return false;
    QFile lock(file_ + ".lock"_L1);
    if (!lock.open(QIODevice::ReadWrite, QFileDevice::ReadOwner | QFileDevice::WriteOwner) ||
        !lockFile(lock.handle(), LOCK_EX))
        return false;
    for (int attempt = 0; attempt < mostRewrites; ++attempt) {
        const std::optional<Stamp> before = Stamp::of(file_);
        const std::optional<StoredDefaults> present = readDefaults(file_);
        // Writing would destroy what we cannot read.
        if (!present)
            return false;
        QJsonObject object = present->object;
        for (const PendingChange &pending : changes)
            object.insert(pending.key, pending.change(object.value(pending.key)));
        if (object == present->object)
            return true;
        const QByteArray bytes = encodeDefaults(object);
        // Next time, it would be taken for damaged.
        if (bytes.size() > largestDefaults)
            return false;
        // Editors know nothing of our lock: what was saved in the meantime is merged, too.
        if (Stamp::of(file_) != before)
            continue;
        // A symbolic link stays; what it leads to is moved.
        if (present->isDamaged && !keepAside(QFileInfo(file_).canonicalFilePath(), file_))
            return false;
        return writeFileAtomically(file_, bytes);
    }
    return false;
}

} // namespace corvid
