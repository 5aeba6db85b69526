#include "Platform/Linux/Running/RunningApplications.h"

#include "Platform/Linux/Launching/BundleProperties.h"
#include "Platform/Linux/Running/ProcessTraits.h"
#include "Platform/Linux/Running/WindowMatcher.h"
#include "Platform/Linux/Wayland/WaylandToplevels.h"
#include "Platform/Linux/X11/X11Clients.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto reactionTime = 2s; // of a window manager that is asked to activate a window
// A program that has just died may still have its window, and even the focus.
constexpr auto settlingTime = 100ms;

// A compositor tells of the windows of X11 programs, too.
std::unique_ptr<WindowList> connectToList(const RunningApplications::Displays &displays) {
    if (auto toplevels = WaylandToplevels::connect(displays.wayland))
        return toplevels;
    return X11Clients::connect(displays.x11);
}

} // namespace

/** The thread's own state. */
class RunningApplications::Watcher {
public:
    Watcher(const DesktopEntries &entries, const Displays &displays)
        : entries_(entries), clients_(connectToList(displays)) {}

    struct Result {
        QSet<QString> ids;
        QSet<QString> activatable;
    };

    bool connected() const { return clients_ != nullptr; }

    /** Sleeps until something may have changed, the other descriptor is readable, or a wish is
        due. */
    WindowList::Events wait(int wakeDescriptor) {
        // An answer may have brought events along, which the descriptor no longer announces.
        auto events = clients_->takeEvents();
        if (events == WindowList::Events::Nothing) {
            std::array<pollfd, 2> sources{
                {{clients_->fileDescriptor(), POLLIN, 0}, {wakeDescriptor, POLLIN, 0}}};
            poll(sources.data(), sources.size(), pollTimeout());
            events = clients_->takeEvents();
        }
        return events;
    }

    Result look() {
        windows_ = clients_->list();
        std::vector<WindowList::Window> added;
        std::unordered_map<WindowList::Window, Application> kept;
        for (const auto window : windows_) {
            if (const auto known = applications_.find(window); known != applications_.end())
                kept.insert(*known);
            else
                added.push_back(window);
        }
        applications_ = std::move(kept);
        recognize(added);

        const bool canActivate = clients_->canActivate();
        Result result;
        for (const auto window : windows_) {
            const auto application = applications_.find(window);
            if (application == applications_.end() || application->second.id.isEmpty())
                continue;
            result.ids.insert(application->second.id);
            if (canActivate)
                result.activatable.insert(application->second.path);
        }
        return result;
    }

    /** Begins to carry out a wish; look() must have been called just before. */
    void begin(const Wish &wish) { pending_.push_back({wish, 0, {}, false}); }

    struct Answer {
        Wish wish;
        bool activated;
    };

    /** Goes on with the wishes; those that have been decided are returned. */
    std::vector<Answer> goOn() {
        std::vector<Answer> answers;
        if (pending_.empty())
            return answers;
        const auto now = Clock::now();
        const auto active = applications_.find(clients_->active());
        std::erase_if(pending_, [&](Pending &pending) {
            const auto windows = windowsOf(pending.wish.path);
            if (windows.empty()) {
                answers.push_back({pending.wish, false});
                return true;
            }
            if (std::find(windows.begin(), windows.end(), pending.target) == windows.end()) {
                pending.target = clients_->activateTopmost(windows);
                pending.due = now + reactionTime;
                pending.reacted = false;
                return false;
            }
            // Or another of its windows: a dialog comes before the window that it belongs to.
            if (!pending.reacted && active != applications_.end() &&
                active->second.path == pending.wish.path) {
                pending.reacted = true;
                pending.due = now + settlingTime;
            }
            if (now < pending.due)
                return false;
            answers.push_back({pending.wish, pending.reacted});
            return true;
        });
        return answers;
    }

    std::vector<Wish> giveUp() {
        std::vector<Wish> wishes;
        for (const Pending &pending : pending_)
            wishes.push_back(pending.wish);
        pending_.clear();
        return wishes;
    }

private:
    struct Pending {
        Wish wish;
        WindowList::Window target = 0;
        Clock::time_point due;
        bool reacted = false; ///< the application has the focus
    };

    int pollTimeout() const {
        if (pending_.empty())
            return -1;
        const auto next = std::min_element(
            pending_.begin(), pending_.end(),
            [](const Pending &one, const Pending &other) { return one.due < other.due; });
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(next->due - Clock::now());
        return static_cast<int>(std::max(rest, 0ms).count());
    }

    std::vector<WindowList::Window> windowsOf(const QString &path) const {
        std::vector<WindowList::Window> result;
        for (const auto window : windows_) {
            const auto application = applications_.find(window);
            if (application != applications_.end() && application->second.path == path)
                result.push_back(window);
        }
        return result;
    }

    /** What a window belongs to; empty when that is not known. */
    using Application = WindowMatcher::Match;

    Application applicationOf(const WindowList::Client &client) const {
        WindowTraits traits = client.traits;
        const ProcessTraits process = processTraits(client.pid);
        traits.launchedEntry = process.launchedEntry;
        traits.controlGroup = process.controlGroup;
        if (!process.bundle.isEmpty())
            if (QString id = bundleProperty(process.bundle, u"CFBundleIdentifier"_s); !id.isEmpty())
                return {id, process.bundle};
        return matcher_.match(traits).value_or(Application());
    }

    void recognize(const std::vector<WindowList::Window> &windows) {
        if (windows.empty())
            return;
        for (const WindowList::Client &client : clients_->describe(windows)) {
            Application application = applicationOf(client);
            // Perhaps it was installed after we last looked.
            if (application.id.isEmpty() && listEntriesAnew())
                application = applicationOf(client);
            applications_[client.window] = std::move(application);
        }
    }

    bool listEntriesAnew() {
        const auto now = Clock::now();
        if (listed_ && now - *listed_ < 1min)
            return false;
        matcher_ = WindowMatcher(entries_.list());
        listed_ = now;
        return true;
    }

    const DesktopEntries &entries_;
    std::unique_ptr<WindowList> clients_;
    WindowMatcher matcher_;
    std::optional<Clock::time_point> listed_;
    std::vector<WindowList::Window> windows_;
    std::unordered_map<WindowList::Window, Application> applications_;
    std::vector<Pending> pending_;
};

RunningApplications::RunningApplications(const DesktopEntries &entries, Displays displays)
    : entries_(entries), displays_(std::move(displays)),
      wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

RunningApplications::~RunningApplications() {
    thread_.request_stop();
    wake();
    if (thread_.joinable())
        thread_.join();
    close(wakeDescriptor_);
}

void RunningApplications::start() {
    thread_ = std::jthread([this](const std::stop_token &stop) {
        Watcher watcher(entries_, displays_);
        if (watcher.connected())
            watch(watcher, stop);
    });
}

void RunningApplications::watch(Watcher &watcher, const std::stop_token &stop) {
    const auto publish = [this](Watcher::Result result) {
        QMetaObject::invokeMethod(
            &receiver_,
            [this, result = std::move(result)] {
                ids_ = result.ids;
                activatable_ = result.activatable;
            },
            Qt::QueuedConnection);
    };
    const auto takeWishes = [this](bool last) {
        eventfd_t count = 0;
        eventfd_read(wakeDescriptor_, &count);
        const std::scoped_lock lock(mutex_);
        deaf_ = last;
        return std::exchange(wishes_, {});
    };
    takeWishes(false);
    publish(watcher.look());
    while (!stop.stop_requested()) {
        const auto events = watcher.wait(wakeDescriptor_);
        const bool lost = events == WindowList::Events::ConnectionLost;
        const std::vector<Wish> wishes = takeWishes(lost);
        if (lost) {
            publish({});
            for (const Wish &wish : watcher.giveUp())
                answer(wish, false);
            for (const Wish &wish : wishes)
                answer(wish, false);
            return;
        }
        // What is known may be older than the wish.
        if (events == WindowList::Events::ListChanged || !wishes.empty())
            publish(watcher.look());
        for (const Wish &wish : wishes)
            watcher.begin(wish);
        for (const auto &[wish, activated] : watcher.goOn())
            answer(wish, activated);
    }
}

void RunningApplications::answer(const Wish &wish, bool activated) {
    QMetaObject::invokeMethod(
        &receiver_, [done = wish.done, activated] { done(activated); }, Qt::QueuedConnection);
}

bool RunningApplications::activate(const QString &applicationPath, const Activated &done) {
    if (!activatable_.contains(applicationPath))
        return false;
    {
        const std::scoped_lock lock(mutex_);
        if (deaf_)
            return false;
        wishes_.push_back({applicationPath, done});
    }
    wake();
    return true;
}

void RunningApplications::wake() const {
    eventfd_write(wakeDescriptor_, 1);
}

} // namespace corvid
