#include "Platform/Linux/Running/RunningApplications.h"

#include "Catalog/PropertyList.h"
#include "Platform/Linux/Wayland/WaylandToplevels.h"
#include "Platform/Linux/X11/X11Clients.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>
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

/** All that the thread does, and its own state. */
class RunningApplications::Watcher {
public:
    explicit Watcher(RunningApplications &owner)
        : owner_(owner), list_(connectToList(owner.displays_)) {}

    /** Returns when asked to stop, or when there is no list of windows or it is gone. */
    void run(const std::stop_token &stop) {
        if (!list_)
            return;
        while (!stop.stop_requested()) {
            const auto events = wait();
            const bool lost = events == WindowList::Events::ConnectionLost;
            Inbox inbox = owner_.takeInbox(lost);
            for (const Wish &wish : inbox.wishes)
                pending_.push_back({wish, 0, {}, false});
            if (lost) {
                owner_.publish({}, {});
                for (const Pending &pending : pending_)
                    owner_.answer(pending.wish, false);
                return;
            }
            const bool isMatcherNew = inbox.matcher.has_value();
            if (isMatcherNew)
                matcher_ = std::move(inbox.matcher);
            // What is known may be older than the wish.
            if (matcher_ && (events == WindowList::Events::ListChanged || isMatcherNew ||
                             !inbox.wishes.empty()))
                look(isMatcherNew);
            carryOut();
        }
    }

private:
    /** What a window belongs to; empty when that is not known. */
    using Application = WindowMatcher::Match;

    struct Known {
        WindowList::Window window;
        Application application;
    };

    struct Pending {
        Wish wish;
        WindowList::Window target = 0;
        Clock::time_point due;
        bool reacted = false; ///< the application has the focus
    };

    /** Sleeps until something may have changed, there is a new wish, or one is due. */
    WindowList::Events wait() {
        // An answer may have brought events along, which the descriptor no longer announces.
        const auto events = list_->takeEvents();
        if (events != WindowList::Events::Nothing)
            return events;
        std::array<pollfd, 2> sources{
            {{list_->fileDescriptor(), POLLIN, 0}, {owner_.waker_.number(), POLLIN, 0}}};
        poll(sources.data(), sources.size(), pollTimeout());
        return list_->takeEvents();
    }

    int pollTimeout() const {
        if (pending_.empty())
            return -1;
        const auto next = std::ranges::min(pending_, {}, &Pending::due).due;
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        return static_cast<int>(std::max(rest, 0ms).count());
    }

    /** Learns which windows there are, and publishes whose they are. Those that were nobody's may
        be somebody's where there is a new matcher. */
    void look(bool isMatcherNew) {
        std::vector<Known> known;
        std::vector<WindowList::Window> unknown;
        for (const auto window : list_->list()) {
            const Known *const before = find(window);
            known.push_back(before ? *before : Known{window, {}});
            if (!before || (isMatcherNew && before->application.id.isEmpty()))
                unknown.push_back(window);
        }
        windows_ = std::move(known);
        for (const WindowList::Client &client : list_->describe(unknown))
            if (Known *const window = find(client.window))
                window->application = recognize(client);

        QSet<QString> ids;
        QSet<QString> paths;
        for (const Known &window : windows_) {
            if (window.application.id.isEmpty())
                continue;
            ids.insert(window.application.id);
            paths.insert(window.application.path);
        }
        owner_.publish(ids, list_->canActivate() ? paths : QSet<QString>());
    }

    Known *find(WindowList::Window window) {
        const auto found = std::ranges::find(windows_, window, &Known::window);
        return found == windows_.end() ? nullptr : &*found;
    }

    Application recognize(WindowList::Client client) {
        WindowTraits &traits = client.traits;
        addProcessTraits(client.pid, traits);
        if (!traits.bundle.isEmpty())
            if (QString id = bundleProperties(traits.bundle).value(u"CFBundleIdentifier"_s);
                !id.isEmpty())
                return {id, traits.bundle};
        return matcher_->match(traits).value_or(Application());
    }

    /** Goes on with the wishes, and answers those that have been decided. */
    void carryOut() {
        if (pending_.empty())
            return;
        const Known *active = find(list_->active());
        const QString activePath = active ? active->application.path : QString();
        std::erase_if(pending_, [&](Pending &pending) {
            const std::optional<bool> activated = carryOut(pending, activePath);
            if (activated)
                owner_.answer(pending.wish, *activated);
            return activated.has_value();
        });
    }

    /** Whether the application came to the front; absent as long as that is open. */
    std::optional<bool> carryOut(Pending &pending, const QString &activePath) {
        std::vector<WindowList::Window> windows;
        for (const Known &known : windows_)
            if (known.application.path == pending.wish.path)
                windows.push_back(known.window);
        if (windows.empty())
            return false;
        const auto now = Clock::now();
        if (std::ranges::find(windows, pending.target) == windows.end()) {
            pending.target = list_->activateTopmost(windows);
            pending.due = now + reactionTime;
            pending.reacted = false;
            return std::nullopt;
        }
        // Any of its windows counts: a dialog comes before the window that it belongs to.
        if (!pending.reacted && activePath == pending.wish.path) {
            pending.reacted = true;
            pending.due = now + settlingTime;
        }
        return now < pending.due ? std::nullopt : std::optional(pending.reacted);
    }

    RunningApplications &owner_;
    std::unique_ptr<WindowList> list_;
    std::optional<WindowMatcher> matcher_;
    std::vector<Known> windows_; ///< oldest first
    std::vector<Pending> pending_;
};

RunningApplications::RunningApplications(Displays displays)
    : displays_(std::move(displays)), waker_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void RunningApplications::start() {
    thread_ = std::jthread([this](const std::stop_token &stop) {
        const std::stop_callback ending(stop, [this] { wake(); });
        Watcher(*this).run(stop);
    });
}

RunningApplications::Inbox RunningApplications::takeInbox(bool last) {
    eventfd_t count = 0;
    eventfd_read(waker_.number(), &count);
    const std::scoped_lock lock(mutex_);
    deaf_ = last;
    return std::exchange(inbox_, {});
}

void RunningApplications::setEntries(const std::vector<DesktopEntry> &entries) {
    WindowMatcher matcher(entries);
    {
        const std::scoped_lock lock(mutex_);
        inbox_.matcher = std::move(matcher);
    }
    wake();
}

void RunningApplications::publish(const QSet<QString> &ids, const QSet<QString> &activatable) {
    QMetaObject::invokeMethod(
        &receiver_,
        [=, this] {
            ids_ = ids;
            activatable_ = activatable;
        },
        Qt::QueuedConnection);
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
        inbox_.wishes.push_back({applicationPath, done});
    }
    wake();
    return true;
}

void RunningApplications::wake() const {
    eventfd_write(waker_.number(), 1);
}

} // namespace corvid
