#include "Platform/Linux/Secrets/SessionSecretStore.h"

#include "Platform/Linux/GLibPointers.h"
#include "Platform/Linux/Secrets/FileSecretStore.h"
#include "Platform/Linux/Secrets/SecretServiceStore.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace corvid {

namespace {

constexpr auto patienceAtTheEnd = std::chrono::seconds(2);

void wipe(std::optional<QString> &secret) {
    // A string that somebody else still uses is theirs to lose.
    if (secret && secret->isDetached())
        explicit_bzero(secret->data(), static_cast<std::size_t>(secret->size()) * sizeof(QChar));
    secret.reset();
}

/** Cancels, from a thread of its own, what is not done in time. */
class Deadline {
public:
    Deadline(GCancellable *cancellable, std::chrono::milliseconds time)
        : thread_([cancellable, time](const std::stop_token &stop) {
              std::mutex mutex;
              std::condition_variable_any stopped;
              std::unique_lock lock(mutex);
              stopped.wait_for(lock, stop, time, [] { return false; });
              if (!stop.stop_requested())
                  g_cancellable_cancel(cancellable);
          }) {}

private:
    std::jthread thread_;
};

} // namespace

/** What the thread found out. */
struct SessionSecretStore::Report {
    enum class Cause { Looked, Saved };
    Cause cause;
    QString account;
    std::optional<QString> secret;
    bool answered;
};

/** The thread's work, and the queue that leads to it. */
class SessionSecretStore::Worker {
public:
    using Publish = std::function<void(Report)>;

    /** `publish` is called in the thread. */
    Worker(std::chrono::milliseconds deadline, Publish publish)
        : deadline_(deadline), publish_(std::move(publish)) {}
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;
    ~Worker() { g_main_context_unref(context_); }

    /** The thread's whole life. */
    void run() {
        g_main_context_push_thread_default(context_);
        {
            Stores stores{SecretServiceStore([this] { changed_ = true; }), {}, {}};
            while (workOnce(stores)) {
            }
        }
        // What a connection leaves behind is freed by the loop that it was made in.
        while (g_main_context_iteration(context_, FALSE)) {
        }
        g_main_context_pop_thread_default(context_);
        const std::scoped_lock lock(mutex_);
        ended_ = true;
        endedCondition_.notify_all();
    }

    // What follows is the main thread's.

    /** Reports on the account now and whenever something may have changed. */
    void follow(const QString &account) { add({account, std::nullopt}); }

    void save(const QString &account, const QString &secret) {
        {
            const std::scoped_lock lock(mutex_);
            // A question's answer is outdated, and so is an earlier save that may still be
            // waiting for the user's password.
            if (running_ && (!runningSave_ || *runningSave_ == account))
                g_cancellable_cancel(running_);
        }
        add({account, secret});
    }

    /** Ends run() when all that is to be saved is. */
    void end() {
        std::unique_lock lock(mutex_);
        ending_ = true;
        if (running_ && !runningSave_)
            g_cancellable_cancel(running_);
        g_main_context_wakeup(context_);
        if (endedCondition_.wait_for(lock, patienceAtTheEnd, [this] { return ended_; }))
            return;
        jobs_.clear();
        if (running_)
            g_cancellable_cancel(running_);
    }

private:
    struct Job {
        QString account;
        std::optional<QString> secretToSave; ///< else look
    };
    struct Stores {
        SecretServiceStore service;
        FileSecretStore file;
        /** By account, all that are followed; what was found out when it last could be. */
        QHash<QString, std::optional<QString>> lastSaid;
    };

    /** A call to the service that other threads can cancel. */
    class Operation {
    public:
        Operation(Worker &worker, std::optional<QString> accountToSave)
            : worker_(worker), cancellable_(g_cancellable_new()) {
            const std::scoped_lock lock(worker_.mutex_);
            worker_.running_ = cancellable_.get();
            worker_.runningSave_ = std::move(accountToSave);
        }
        Operation(const Operation &) = delete;
        Operation &operator=(const Operation &) = delete;
        ~Operation() {
            const std::scoped_lock lock(worker_.mutex_);
            worker_.running_ = nullptr;
        }
        GCancellable *cancellable() const { return cancellable_.get(); }

    private:
        Worker &worker_;
        GObjectPointer<GCancellable> cancellable_;
    };

    void add(Job job) {
        const std::scoped_lock lock(mutex_);
        jobs_.push_back(std::move(job));
        g_main_context_wakeup(context_);
    }

    bool workOnce(Stores &stores) {
        g_main_context_iteration(context_, FALSE);
        std::optional<Job> job;
        bool superseded = false;
        {
            const std::scoped_lock lock(mutex_);
            if (!jobs_.empty()) {
                job = std::move(jobs_.front());
                jobs_.pop_front();
                superseded = std::any_of(jobs_.begin(), jobs_.end(), [&](const Job &later) {
                    return later.secretToSave && later.account == job->account;
                });
            } else if (ending_) {
                return false;
            }
        }
        if (job && job->secretToSave) {
            if (superseded)
                publish_({Report::Cause::Saved, job->account, std::nullopt, true});
            else
                save(stores, job->account, *job->secretToSave);
            wipe(job->secretToSave);
        } else if (job)
            look(stores, job->account, SecretServiceStore::Start::IfNeeded, Report::Cause::Looked);
        else if (std::exchange(changed_, false))
            lookForChanges(stores);
        else
            g_main_context_iteration(context_, TRUE);
        return true;
    }

    void lookForChanges(Stores &stores) {
        const QStringList accounts = stores.lastSaid.keys();
        for (const QString &account : accounts)
            // A service that was ended is not ours to bring back.
            look(stores, account, SecretServiceStore::Start::Never, Report::Cause::Looked);
    }

    void save(Stores &stores, const QString &account, const QString &secret) {
        SecretServiceStore::Saved saved = SecretServiceStore::Saved::Failed;
        {
            const Operation operation(*this, account);
            saved = stores.service.set(account, secret, operation.cancellable());
        }
        if (saved == SecretServiceStore::Saved::Yes)
            stores.file.remove(account);
        else if (saved == SecretServiceStore::Saved::NoService)
            stores.file.set(account, secret);
        look(stores, account, SecretServiceStore::Start::Never, Report::Cause::Saved);
    }

    void look(Stores &stores, const QString &account, SecretServiceStore::Start start,
              Report::Cause cause) {
        const SecretServiceStore::Answer answer = ask(stores.service, account, start);
        const bool answered = answer.state != SecretServiceStore::State::NoAnswer;
        if (answer.state == SecretServiceStore::State::Found)
            stores.lastSaid[account] = answer.secret;
        else if (answered || !stores.lastSaid.contains(account))
            stores.lastSaid[account] = stores.file.get(account);
        publish_({cause, account, stores.lastSaid.value(account), answered});
    }

    SecretServiceStore::Answer ask(SecretServiceStore &service, const QString &account,
                                   SecretServiceStore::Start start) {
        const Operation operation(*this, std::nullopt);
        {
            const std::scoped_lock lock(mutex_);
            if (ending_)
                g_cancellable_cancel(operation.cancellable());
        }
        const Deadline deadline(operation.cancellable(), deadline_);
        return service.get(account, start, operation.cancellable());
    }

    const std::chrono::milliseconds deadline_;
    const Publish publish_;
    GMainContext *const context_ = g_main_context_new();
    bool changed_ = false; ///< the thread's own

    std::mutex mutex_; ///< guards what follows
    std::deque<Job> jobs_;
    GCancellable *running_ = nullptr;
    std::optional<QString> runningSave_; ///< the account, when that is what runs
    bool ending_ = false;
    bool ended_ = false;
    std::condition_variable endedCondition_;
};

SessionSecretStore::SessionSecretStore(std::chrono::milliseconds deadline)
    : worker_(std::make_unique<Worker>(
          deadline,
          [this](Report report) {
              QMetaObject::invokeMethod(
                  &receiver_, [this, report = std::move(report)] { install(report); },
                  Qt::QueuedConnection);
          })),
      thread_([this] { worker_->run(); }) {}

SessionSecretStore::~SessionSecretStore() {
    worker_->end();
    thread_.join();
    for (Known &known : known_)
        wipe(known.secret);
}

std::optional<QString> SessionSecretStore::get(const QString &account) const {
    Known &known = known_[account];
    if (!known.answered && !known.beingAsked) {
        known.beingAsked = true;
        worker_->follow(account);
    }
    return known.secret;
}

void SessionSecretStore::set(const QString &account, const QString &secret) {
    Known &known = known_[account];
    ++known.pendingSaves;
    worker_->save(account, secret);
    if (known.secret == secret)
        return;
    wipe(known.secret);
    known.secret = secret;
    const auto tell = [this] {
        if (onChange)
            onChange();
    };
    QMetaObject::invokeMethod(&receiver_, tell, Qt::QueuedConnection);
}

void SessionSecretStore::install(const Report &report) {
    Known &known = known_[report.account];
    known.answered = report.answered;
    if (report.cause == Report::Cause::Looked)
        known.beingAsked = false;
    else
        --known.pendingSaves;
    if (known.pendingSaves > 0 || known.secret == report.secret)
        return;
    wipe(known.secret);
    known.secret = report.secret;
    if (onChange)
        onChange();
}

} // namespace corvid
