#include "Platform/Linux/Launching/FolderWatch.h"

#include "Platform/Linux/Launching/AppImages.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <sys/inotify.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Not each write: a download would wake us for every piece of it.
constexpr std::uint32_t changes = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                  IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;

// Others that are written beside them matter to nobody here: temporary files, caches, downloads.
bool mayBeOfAnApplication(const inotify_event &event, const char *name) {
    if ((event.mask & (IN_ISDIR | IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF)) != 0)
        return true;
    const QString file = event.len > 0 ? QFile::decodeName(name) : QString();
    return file.endsWith(".desktop"_L1) || isAppImage(file);
}

} // namespace

FolderWatch::FolderWatch(std::function<void()> onChange)
    : events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), onChange_(std::move(onChange)) {
    if (!events_.valid())
        return;
    notifier_.emplace(events_.number(), QSocketNotifier::Read);
    QObject::connect(&*notifier_, &QSocketNotifier::activated, &*notifier_, [this] { read(); });
}

void FolderWatch::add(const QString &folder) const {
    QString path = folder;
    while (inotify_add_watch(events_.number(), QFile::encodeName(path).constData(),
                             changes | IN_ONLYDIR) < 0 &&
           errno == ENOENT && path.size() > 1)
        path = path.left(std::max<qsizetype>(path.lastIndexOf(u'/'), 1));
}

void FolderWatch::read() {
    bool changed = false;
    // What does not fit wakes us again.
    alignas(inotify_event) std::array<char, 16 * 1024> bytes;
    const ssize_t size = ::read(events_.number(), bytes.data(), bytes.size());
    if (size < 0 && errno != EAGAIN && errno != EINTR)
        notifier_->setEnabled(false);
    for (ssize_t at = 0; at < size;) {
        inotify_event event = {};
        std::memcpy(&event, bytes.data() + at, sizeof event);
        changed = changed || mayBeOfAnApplication(event, bytes.data() + at + sizeof event);
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    if (changed)
        onChange_();
}

} // namespace corvid
