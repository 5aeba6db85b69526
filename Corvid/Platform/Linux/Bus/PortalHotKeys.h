#pragma once

#include "Base/TaskGroup.h"
#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/Bus/Portal.h"
#include "Platform/Linux/DesktopAtHand.h"

#include <QByteArray>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

namespace corvid {

struct PortalKeyEvent;

/**
 * The hot key as a global shortcut of the desktop's portal, for sessions whose window system lets
 * no program listen to keys. The combination is what we would like; the desktop has the last word,
 * and the user may change it there. Where no portal offers shortcuts, or the user refuses, it could
 * not be had. One that starts later or comes back is asked again.
 *
 * It has a connection to the bus of its own, from the first combination that is asked for: a portal
 * learns who we are only from the first that it hears on a connection. No time comes with a press,
 * as a portal's clock counts from anywhere.
 */
class PortalHotKeys final : public HotKeyBackend {
public:
    /** Receives what entitles our next window to the keyboard: right before the press that it came
        with is told, and an empty one when that press has been dealt with. Not called for presses
        that no token comes with. */
    using TokenReceiver = std::function<void(const QByteArray &token)>;

    /** How far the repeated presses of a held key are apart at most. Some portals tell these like
        the first, and a release might get lost. */
    static constexpr std::chrono::milliseconds usualRepeat{2'000};
    /** After which a portal that has not answered is said to be silent. It starts with the session,
        which may take its time. */
    static constexpr std::chrono::milliseconds usualPatience{10'000};

    /** A combination as desktops write it for their global shortcuts: "ALT+space", the key by the
        name of its symbol on a US keyboard. Absent for key codes that no key has. */
    static std::optional<QString> triggerFor(const HotKey &hotKey);

    explicit PortalHotKeys(TokenReceiver receiveToken = nullptr,
                           std::chrono::milliseconds longestRepeat = usualRepeat,
                           std::chrono::milliseconds patience = usualPatience);
    ~PortalHotKeys() override;

    void grab(const HotKey &hotKey, Callbacks callbacks) override;
    void release() override;
    void dealtWith(quint32 time, NextKeys nextKeys) override;
    QString keyName(quint32 keyCode) const override { return nameOfKey(keyCode); }
    Desktop desktop() const override { return desktopAtHand(); }

private:
    enum class State {
        Absent,
        Busy,    ///< waits for the portal: to start, to greet, to open or to close a session
        Idle,    ///< has no session: none is wanted, or it was refused
        Binding, ///< waits for the key, perhaps for the user
        Bound,
    };

    void want(const std::optional<HotKey> &hotKey, Callbacks callbacks);
    void listen();
    void startPortal();
    void portalAppeared();
    void portalVanished();
    void goOn();
    void createSession();
    void findOutWhetherKept();
    void bindShortcut();
    void closeSession();
    void becomeIdle();
    void press(const QByteArray &token);
    void awaitAnswer();
    void answer(HotKeyAnswer answer);
    void answerShortcuts(const QVariant &list);
    bool isOurs(const PortalKeyEvent &event) const;
    QString id() const;
    QVariant shortcuts() const;

    const TokenReceiver receiveToken_;
    const std::chrono::milliseconds longestRepeat_;
    bool tokenIsOut_ = false; ///< the receiver has one

    std::optional<Portal> portal_; ///< absent before the first combination is asked for
    State state_ = State::Absent;
    std::optional<std::chrono::steady_clock::time_point> lastPress_; ///< while held
    std::optional<HotKey> wanted_;
    Callbacks callbacks_;              ///< of what is wanted
    bool asked_ = false;               ///< for what is wanted
    std::optional<HotKeyAnswer> told_; ///< of what is wanted
    QTimer patience_;                  ///< runs while an answer is awaited
    QString trigger_;                  ///< of the session
    QString session_;                  ///< its path; empty without one
    TaskGroup tasks_;
};

} // namespace corvid
