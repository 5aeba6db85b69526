#include "Platform/Linux/Secrets/SessionSecretStore.h"

#include "Base/Deadline.h"
#include "Base/Wipe.h"
#include "Platform/Linux/GLibPointers.h"
#include "Platform/Linux/Secrets/FileSecretStore.h"
#include "Platform/Linux/Secrets/SecretServiceStore.h"

#include <QHash>
#include <QMap>

#include <functional>
#include <mutex>
#include <utility>

namespace corvid {

namespace {

constexpr auto patienceAtTheEnd = std::chrono::seconds(2);

std::optional<LockedText> locked(std::optional<QString> secret) {
    if (!secret)
        return std::nullopt;
    const LockedText result(*secret);
    wipe(*secret);
    return result;
}

} // namespace

/** What the thread found out about an account. */
struct SessionSecretStore::Report {
    std::optional<LockedText> secret; ///< as it was when the stores last answered
    bool locked = false;              ///< likewise
    bool looked = false;              ///< at least once
    bool answered = false;            ///< the last question was
    int saves = 0;                    ///< as many as this already takes into account
    int unlocks = 0;                  ///< likewise
    Saved lastSave = Saved::Failed;   ///< what came of the last of the saves
};

/** The thread's work, and what is to be done. */
class SessionSecretStore::Worker {
public:
    Worker(SessionSecretStore &owner, std::chrono::milliseconds deadline)
        : owner_(owner), deadline_(deadline) {}

    /** The thread's whole life. */
    void run() {
        g_main_context_push_thread_default(context_.get());
        service_.emplace([this] { changed_ = true; });
        file_.emplace();
        while (workOnce()) {
        }
        service_.reset();
        // What a connection leaves behind is freed by the loop that it was made in.
        while (g_main_context_iteration(context_.get(), FALSE)) {
        }
        g_main_context_pop_thread_default(context_.get());
    }

    // What follows is the main thread's.

    /** Reports on the account now and whenever something may have changed. */
    void follow(const QString &account) {
        const std::scoped_lock lock(mutex_);
        jobs_[account]; // a waiting save stays: it reports, too
        g_main_context_wakeup(context_.get());
    }

    /** In place of a save that still waits. `number` counts the account's saves. */
    void save(const QString &account, const LockedText &secret, int number) {
        const std::scoped_lock lock(mutex_);
        // A question's answer is outdated, and so is an earlier save that may still be waiting for
        // the user's password.
        if (!savingAccount_ || *savingAccount_ == account)
            g_cancellable_cancel(running_.get());
        Job &job = jobs_[account];
        job.secretToSave = secret;
        job.save = number;
        g_main_context_wakeup(context_.get());
    }

    /** A save that still waits does it. `number` counts the account's wishes. */
    void unlock(const QString &account, int number) {
        const std::scoped_lock lock(mutex_);
        jobs_[account].unlock = number;
        g_main_context_wakeup(context_.get());
    }

    /** Ends run() when all that is to be saved is. */
    void end() {
        const std::scoped_lock lock(mutex_);
        ending_ = true;
        if (!savingAccount_)
            g_cancellable_cancel(running_.get());
        g_main_context_wakeup(context_.get());
    }

    /** Ends run() at once. */
    void giveUp() {
        const std::scoped_lock lock(mutex_);
        gaveUp_ = true;
        jobs_.clear();
        g_cancellable_cancel(running_.get());
    }

private:
    using Result = SecretServiceStore::Result;
    struct Job {
        std::optional<LockedText> secretToSave;
        int save = 0;   ///< its number
        int unlock = 0; ///< number of the wish to unlock; 0: none
    };

    bool workOnce() {
        g_main_context_iteration(context_.get(), FALSE);
        std::optional<std::pair<QString, Job>> next;
        {
            const std::scoped_lock lock(mutex_);
            if (!jobs_.isEmpty()) {
                const QString account = jobs_.firstKey();
                next.emplace(account, jobs_.take(account));
            } else if (ending_) {
                return false;
            }
        }
        if (next) {
            const auto &[account, job] = *next;
            if (job.unlock > 0)
                reports_[account].unlocks = job.unlock;
            if (job.secretToSave)
                carryOut(account, *job.secretToSave, job.save);
            else if (job.unlock > 0)
                unlockAndLook(account);
            else
                look(account, SecretServiceStore::Start::IfNeeded);
        } else if (std::exchange(changed_, false)) {
            // A service that was ended is not ours to bring back.
            for (const QString &account : reports_.keys())
                look(account, SecretServiceStore::Start::Never);
        } else {
            g_main_context_iteration(context_.get(), TRUE);
        }
        return true;
    }

    void carryOut(const QString &account, const LockedText &text, int number) {
        QString secret = text.copy();
        const Result saved = service_->set(account, secret, begin(account));
        bool stored = saved == Result::Done;
        if (stored)
            file_->remove(account);
        else if (saved == Result::Nothing)
            stored = file_->set(account, secret);
        wipe(secret);
        Report &report = reports_[account];
        report.saves = number;
        report.lastSave = stored                    ? Saved::Stored
                          : saved == Result::Locked ? Saved::Locked
                                                    : Saved::Failed;
        look(account, SecretServiceStore::Start::Never);
    }

    void unlockAndLook(const QString &account) {
        service_->unlock(account, begin(std::nullopt));
        look(account, SecretServiceStore::Start::Never);
    }

    void look(const QString &account, SecretServiceStore::Start start) {
        GCancellable *const cancellable = begin(std::nullopt);
        SecretServiceStore::Answer answer = [&] {
            const Deadline deadline(deadline_, [=] { g_cancellable_cancel(cancellable); });
            return service_->get(account, start, cancellable);
        }();
        Report &report = reports_[account];
        report.answered = answer.result != Result::Failed;
        if (answer.result == Result::Done)
            report.secret = corvid::locked(std::move(answer.secret));
        else if (report.answered || !report.looked)
            report.secret = corvid::locked(file_->get(account));
        if (report.answered)
            report.locked = answer.locked;
        report.looked = true;
        QMetaObject::invokeMethod(
            &owner_.receiver_,
            [&owner = owner_, account, report] { owner.install(account, report); },
            Qt::QueuedConnection);
    }

    /** For the thread's next call to the service, which others can cancel by it. */
    GCancellable *begin(std::optional<QString> savingAccount) {
        const std::scoped_lock lock(mutex_);
        running_.reset(g_cancellable_new());
        savingAccount_ = std::move(savingAccount);
        if (gaveUp_ || (ending_ && !savingAccount_))
            g_cancellable_cancel(running_.get());
        return running_.get();
    }

    SessionSecretStore &owner_;
    const std::chrono::milliseconds deadline_;
    const GMainContextPointer context_{g_main_context_new()};

    // The thread's own.
    std::optional<SecretServiceStore> service_;
    std::optional<FileSecretStore> file_;
    QHash<QString, Report> reports_; ///< by account
    bool changed_ = false;

    std::mutex mutex_;                                          ///< guards what follows
    QMap<QString, Job> jobs_;                                   ///< by account
    GObjectPointer<GCancellable> running_{g_cancellable_new()}; ///< of the last call to the service
    std::optional<QString> savingAccount_; ///< the account, when that call is a save
    bool ending_ = false;
    bool gaveUp_ = false;
};

SessionSecretStore::SessionSecretStore(std::chrono::milliseconds deadline)
    : worker_(std::make_unique<Worker>(*this, deadline)),
      thread_(std::async(std::launch::async, [this] { worker_->run(); })) {}

void SessionSecretStore::complete() {
    worker_->end();
    if (thread_.wait_for(patienceAtTheEnd) != std::future_status::ready)
        worker_->giveUp();
}

SessionSecretStore::~SessionSecretStore() {
    complete();
}

SessionSecretStore::Known &SessionSecretStore::known(const QString &account) const {
    Known &known = known_[account];
    if (!known.answered && !known.beingAsked) {
        known.beingAsked = true;
        worker_->follow(account);
    }
    return known;
}

std::optional<QString> SessionSecretStore::get(const QString &account) const {
    const std::optional<LockedText> &secret = known(account).secret;
    return secret ? std::optional(secret->copy()) : std::nullopt;
}

bool SessionSecretStore::has(const QString &account) const {
    return known(account).secret.has_value();
}

bool SessionSecretStore::locked(const QString &account) const {
    return known(account).locked;
}

void SessionSecretStore::unlock(const QString &account, std::function<void()> done) {
    Known &known = known_[account];
    known.onUnlocked.push_back(std::move(done));
    // Nobody is asked twice at once.
    if (known.onUnlocked.size() == 1)
        worker_->unlock(account, ++known.unlocks);
}

void SessionSecretStore::set(const QString &account, const QString &secret, OnSaved onSaved) {
    Known &known = known_[account];
    const LockedText latest(secret);
    known.onSaved = std::move(onSaved);
    worker_->save(account, latest, ++known.saves);
    if (known.secret == latest)
        return;
    known.secret = latest;
    QMetaObject::invokeMethod(
        &receiver_, [this] { tellChange(); }, Qt::QueuedConnection);
}

void SessionSecretStore::tellChange() const {
    if (onChange)
        onChange();
}

void SessionSecretStore::install(const QString &account, const Report &report) {
    Known &known = known_[account];
    known.answered = report.answered;
    known.beingAsked = false;
    // What the stores said before the last save is outdated.
    if (report.saves < known.saves)
        return;
    const bool changed = known.secret != report.secret || known.locked != report.locked;
    known.secret = report.secret;
    known.locked = report.locked;
    // Those who are called may ask for more, which moves what is known.
    const OnSaved onSaved = std::exchange(known.onSaved, nullptr);
    std::vector<std::function<void()>> onUnlocked;
    if (report.unlocks == known.unlocks)
        onUnlocked.swap(known.onUnlocked);
    if (onSaved)
        onSaved(report.lastSave);
    if (changed)
        tellChange();
    for (const auto &done : onUnlocked)
        done();
}

} // namespace corvid
