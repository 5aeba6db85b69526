#pragma once

#include "Platform/Linux/Secrets/LockedText.h"
#include "Platform/SecretStore.h"

#include <QObject>

#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <vector>

namespace corvid {

/**
 * Keeps secrets in the desktop's Secret Service; as long as there is none, in a file store of our
 * own. A secret that only the file store has is read from there until the service has one of its
 * own; a secret saved to the service leaves the file store.
 *
 * The main thread answers from its memory alone, which is locked: everything that blocks is a
 * thread's, which sleeps until the service reports a change. When a service does not answer in
 * time, what it said before still counts; it is asked again when somebody wants to know.
 */
class SessionSecretStore final : public SecretStore {
public:
    /** `deadline`: how long a look into the service may take. */
    explicit SessionSecretStore(std::chrono::milliseconds deadline = std::chrono::seconds(5));
    ~SessionSecretStore() override;

    /** Completes what is being saved, but waits no longer than two seconds for it. The last thing
        that is done; the destructor does it, too. */
    void complete();

    std::optional<QString> get(const QString &account) const override;
    bool has(const QString &account) const override;
    bool locked(const QString &account) const override;
    void unlock(const QString &account, std::function<void()> done) override;
    using SecretStore::set;
    void set(const QString &account, const QString &secret, OnSaved onSaved) override;

private:
    class Worker;
    struct Report;

    struct Known {
        std::optional<LockedText> secret;
        bool locked = false;
        bool beingAsked = false;
        bool answered = false; ///< the last question was
        int saves = 0;         ///< until all are through, what the stores say is outdated
        OnSaved onSaved;       ///< of the last save, as long as that is under way
        int unlocks = 0;       ///< that were wished for
        std::vector<std::function<void()>> onUnlocked; ///< of those that are not through
    };

    Known &known(const QString &account) const;
    void install(const QString &account, const Report &report);
    void tellChange() const;

    mutable std::map<QString, Known> known_;
    QObject receiver_; ///< what the thread says is addressed to it
    std::unique_ptr<Worker> worker_;
    std::future<void> thread_; ///< runs the worker; waits for its end when destroyed
};

} // namespace corvid
