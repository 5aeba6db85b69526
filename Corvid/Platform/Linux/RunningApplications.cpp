#include "Platform/Linux/RunningApplications.h"

#include "Platform/Linux/BundleProperties.h"
#include "Platform/Linux/ProcessTraits.h"
#include "Platform/Linux/WindowMatcher.h"
#include "Platform/Linux/X11Clients.h"

#include <array>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <unordered_map>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

/** The thread's own state. */
class RunningApplications::Watcher {
public:
    Watcher(const DesktopEntries &entries, const QByteArray &display)
        : entries_(entries), clients_(X11Clients::connect(display)) {}

    struct Result {
        QSet<QString> ids;
        QHash<QString, Windows> windowsByPath;
    };

    bool connected() const { return clients_ != nullptr; }

    /** Sleeps until the list of windows may have changed or the other descriptor is readable. */
    X11Clients::Events wait(int wakeDescriptor) {
        // An answer may have brought events along, which the descriptor no longer announces.
        auto events = clients_->takeEvents();
        if (events == X11Clients::Events::Nothing) {
            std::array<pollfd, 2> sources{
                {{clients_->fileDescriptor(), POLLIN, 0}, {wakeDescriptor, POLLIN, 0}}};
            poll(sources.data(), sources.size(), -1);
            events = clients_->takeEvents();
        }
        return events;
    }

    Result look() {
        const std::vector<X11Clients::Window> windows = clients_->list();
        std::vector<X11Clients::Window> added;
        std::unordered_map<X11Clients::Window, Application> kept;
        for (const auto window : windows) {
            if (const auto known = applications_.find(window); known != applications_.end())
                kept.insert(*known);
            else
                added.push_back(window);
        }
        applications_ = std::move(kept);
        recognize(added);

        const bool canActivate = clients_->canActivate();
        Result result;
        for (const auto window : windows) {
            const auto application = applications_.find(window);
            if (application == applications_.end() || application->second.id.isEmpty())
                continue;
            result.ids.insert(application->second.id);
            if (canActivate)
                result.windowsByPath[application->second.path].push_back(window);
        }
        return result;
    }

    void activate(const Windows &windows) { clients_->activate(windows); }

private:
    /** What a window belongs to; empty when that is not known. */
    using Application = WindowMatcher::Match;

    Application applicationOf(const X11Clients::Client &client) const {
        WindowTraits traits = client.traits;
        const ProcessTraits process = processTraits(client.pid);
        traits.launchedEntry = process.launchedEntry;
        traits.controlGroup = process.controlGroup;
        if (!process.bundle.isEmpty())
            if (QString id = bundleProperty(process.bundle, u"CFBundleIdentifier"_s); !id.isEmpty())
                return {id, process.bundle};
        return matcher_.match(traits).value_or(Application());
    }

    void recognize(const std::vector<X11Clients::Window> &windows) {
        if (windows.empty())
            return;
        for (const X11Clients::Client &client : clients_->describe(windows)) {
            Application application = applicationOf(client);
            // Perhaps it was installed after we last looked.
            if (application.id.isEmpty() && listEntriesAnew())
                application = applicationOf(client);
            applications_[client.window] = std::move(application);
        }
    }

    bool listEntriesAnew() {
        using namespace std::chrono_literals;
        const auto now = std::chrono::steady_clock::now();
        if (listed_ && now - *listed_ < 1min)
            return false;
        matcher_ = WindowMatcher(entries_.list());
        listed_ = now;
        return true;
    }

    const DesktopEntries &entries_;
    std::unique_ptr<X11Clients> clients_;
    WindowMatcher matcher_;
    std::optional<std::chrono::steady_clock::time_point> listed_;
    std::unordered_map<X11Clients::Window, Application> applications_;
};

RunningApplications::RunningApplications(const DesktopEntries &entries, QByteArray display)
    : entries_(entries), display_(std::move(display)),
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
        Watcher watcher(entries_, display_);
        if (!watcher.connected())
            return;
        const auto publish = [this](Watcher::Result result) {
            QMetaObject::invokeMethod(
                &receiver_,
                [this, result = std::move(result)] {
                    ids_ = result.ids;
                    windowsByPath_ = result.windowsByPath;
                },
                Qt::QueuedConnection);
        };
        publish(watcher.look());
        while (!stop.stop_requested()) {
            const auto events = watcher.wait(wakeDescriptor_);
            if (events == X11Clients::Events::ConnectionLost) {
                publish({});
                return;
            }
            if (events == X11Clients::Events::ListChanged)
                publish(watcher.look());

            eventfd_t count = 0;
            eventfd_read(wakeDescriptor_, &count);
            std::vector<Windows> wishes;
            {
                const std::scoped_lock lock(mutex_);
                wishes.swap(toActivate_);
            }
            for (const Windows &windows : wishes)
                watcher.activate(windows);
        }
    });
}

bool RunningApplications::activate(const QString &applicationPath) {
    const auto windows = windowsByPath_.constFind(applicationPath);
    if (windows == windowsByPath_.constEnd())
        return false;
    {
        const std::scoped_lock lock(mutex_);
        toActivate_.push_back(*windows);
    }
    wake();
    return true;
}

void RunningApplications::wake() const {
    eventfd_write(wakeDescriptor_, 1);
}

} // namespace corvid
