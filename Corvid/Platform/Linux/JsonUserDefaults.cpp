#include "Platform/Linux/JsonUserDefaults.h"

#include "Base/AtomicFile.h"
#include "Base/RegularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <limits>
#include <utility>

#include <sys/file.h>
#include <sys/stat.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QByteArrayView byteOrderMark = "\xef\xbb\xbf";
constexpr QByteArrayView escapedByteOrderMark = "\\ufeff";

qint64 nanoseconds(const timespec &time) {
    return std::chrono::nanoseconds(std::chrono::seconds(time.tv_sec)).count() + time.tv_nsec;
}

// The clock that file times are taken from: it advances a few milliseconds at a time.
qint64 fileSystemTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return nanoseconds(now);
}

// Empty for a missing file, absent for one that cannot be read.
std::optional<QByteArray> readBytes(const QString &path) {
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0 && errno == ENOENT)
        return QByteArray();
    return readRegularFile(path, std::numeric_limits<qint64>::max());
}

} // namespace

std::optional<QJsonObject> decodeDefaults(const QByteArray &bytes) {
    if (bytes.isEmpty())
        return QJsonObject();
    // Qt drops a byte-order mark also where it begins a text, or a part of one. At the beginning of
    // the file it is no part of the content.
    QByteArray escaped = bytes;
    if (escaped.startsWith(byteOrderMark))
        escaped.remove(0, byteOrderMark.size());
    escaped.replace(byteOrderMark, escapedByteOrderMark);
    const QJsonDocument document = QJsonDocument::fromJson(escaped);
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

QByteArray encodeDefaults(const QJsonObject &object) {
    return QJsonDocument(object)
        .toJson(QJsonDocument::Indented)
        .replace(byteOrderMark, escapedByteOrderMark);
}

std::optional<JsonUserDefaults::Stamp> JsonUserDefaults::Stamp::of(const QString &file) {
    struct stat status = {};
    if (stat(QFile::encodeName(file).constData(), &status) != 0)
        return std::nullopt;
    return Stamp{status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
                 nanoseconds(status.st_ctim)};
}

JsonUserDefaults::JsonUserDefaults(QString file)
    : file_(std::move(file)), writer_([this](const std::stop_token &stop) { writeChanges(stop); }) {
}

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
    QJsonObject object =
        decodeDefaults(readBytes(file_).value_or(QByteArray())).value_or(QJsonObject());
    if (object == stored_)
        return;
    stored_ = std::move(object);
    ++generation_;
}

void JsonUserDefaults::writeChanges(const std::stop_token &stop) {
    std::unique_lock lock(mutex_);
    while (wake_.wait(lock, stop, [this] { return attemptsMade_ < attemptsWanted_; })) {
        const quint64 attempt = attemptsWanted_;
        const std::deque<PendingChange> changes = waiting_;
        lock.unlock();
        const bool written = changes.empty() || write(changes);
        lock.lock();
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
    while (true) {
        const std::optional<Stamp> before = Stamp::of(file_);
        const std::optional<QByteArray> bytes = readBytes(file_);
        // Writing would destroy what we cannot read.
        if (!bytes)
            return false;
        const std::optional<QJsonObject> intact = decodeDefaults(*bytes);
        const QJsonObject present = intact.value_or(QJsonObject());
        QJsonObject object = present;
        for (const PendingChange &pending : changes)
            object.insert(pending.key, pending.change(object.value(pending.key)));
        if (object == present)
            return true;
        // Editors know nothing of our lock: what was saved in the meantime is merged, too.
        if (Stamp::of(file_) != before)
            continue;
        // A symbolic link stays; what it leads to is moved.
        if (!intact && !keepAside(QFileInfo(file_).canonicalFilePath(), file_))
            return false;
        return writeFileAtomically(file_, encodeDefaults(object));
    }
}

} // namespace corvid
