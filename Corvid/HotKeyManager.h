#pragma once

#include "Base/HotKeyHelp.h"
#include "Platform/HotKeyBackend.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace corvid {

/**
 * The one key combination that reaches us from everywhere in the session. Main thread only.
 * Registering never fails visibly: a combination that another program holds is just never
 * pressed.
 */
class HotKeyManager final : public QObject {
    Q_OBJECT

public:
    using Handler = std::function<void()>;

    /** The backend must outlive the registration. */
    explicit HotKeyManager(HotKeyBackend &backend) : backend_(backend) {}
    ~HotKeyManager() override;

    /** The process-wide instance, on the backend that the platform installs before anything asks
        for it; asking earlier is a fatal programming error. */
    static HotKeyManager &shared();
    static void installBackend(HotKeyBackend *backend) { sharedBackend_ = backend; }

    /** Replaces the combination and the handler. The handler runs on the main thread, always
        from the event loop, once for each press. */
    void registerHotKey(quint32 keyCode, quint32 modifiers, Handler handler);

    /** For the handler: a window of ours is about to get the keyboard, and what is typed after
        this press is meant for it. */
    void expectKeyboard() { nextKeys_ = NextKeys::OurNextWindow; }

    /** Gives the combination back, if there is one. */
    void unregister();

    /** Gives the combination back until resume(), or until another is registered: it does nothing
        meanwhile and reaches our windows like any other. */
    void pause();
    void resume();

    /** What is registered, also while it is paused. */
    const std::optional<HotKey> &registered() const { return registered_; }

    /** Whether the registered combination could be had, or why not; absent while that is not known
        yet or nothing is registered. */
    std::optional<HotKeyAnswer> answer() const { return answer_; }

    /** The same in words, and what to do where it cannot be had: by the registered combination's
        name. Empty while nothing is registered. */
    HotKeyHelp help() const;

    /** The combination's name on the user's own keyboard: "Alt+Space". */
    QString nameOf(const HotKey &hotKey) const;

    /** The time of the press that the handler was last called for, in the window system's own
        milliseconds; 0 when there was none or it has no time. Focus is asked for with it. */
    quint32 lastPressTime() const { return lastPressTime_; }

    /** The modifier bits of a HotKey for what is held. Other flags leave no trace. */
    static quint32 carbonFlags(ModifierFlags flags);

    /** A combination as text: the modifiers' symbols, a space, the key's name. */
    static QString describe(quint32 keyCode, quint32 modifiers);

Q_SIGNALS:
    /** answer() has changed; not from the destructor. */
    void answerChanged();

private:
    void grab();
    void release();
    void setAnswer(std::optional<HotKeyAnswer> answer);

    inline static HotKeyBackend *sharedBackend_ = nullptr;

    HotKeyBackend &backend_;
    std::optional<HotKey> registered_;
    Handler handler_;
    bool paused_ = false;
    std::optional<HotKeyAnswer> answer_;
    std::optional<HotKey> free_; ///< could be had in place of one that is taken
    quint32 lastPressTime_ = 0;
    NextKeys nextKeys_ = NextKeys::WhoHasTheKeyboard; ///< after the press being handled
    quint64 releases_ = 0; ///< so that an answer to what was released since is recognized
    QObject receiver_;     ///< of what the backend says on other threads; destroyed first
};

} // namespace corvid
