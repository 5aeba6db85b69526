#pragma once

#include <QStringList>

#include <functional>

namespace corvid {

struct HotKeyHelp;
class Notifier;
class UserDefaults;

/**
 * Tells the user of a hidden start: the first time how the panel is shown; and where the hot key
 * cannot be had, why and what to do, once for each reason. What the desktop has taken over is
 * remembered in the user defaults. Main thread only.
 */
class StartNotice {
public:
    enum class Start {
        First, ///< of this user
        Later,
    };

    /** References outlive this. `show` shows the panel. */
    StartNotice(UserDefaults &defaults, Notifier &notifier, Start start,
                std::function<void()> show);

    /** To be called when it is known, or known anew, whether the hot key could be had. */
    void hotKeyAnswered(const HotKeyHelp &help);
    /** Something of ours is in sight, which says how to come back to it. */
    void seen() { isFirst_ = false; }

private:
    UserDefaults &defaults_;
    Notifier &notifier_;
    bool isFirst_; ///< nobody has been told how to show the panel
    const std::function<void()> show_;
    QStringList said_; ///< in this run, whether it arrived or not
};

} // namespace corvid
