#pragma once

#include <QWidget>

#include <functional>

namespace corvid {

class Desktop;
class LauncherView;
class LauncherViewModel;

/**
 * The floating window around the LauncherView: frameless, above everything, in no task bar.
 * Main thread only.
 */
class LauncherPanel final : public QWidget {
    Q_OBJECT

public:
    /** Both must outlive the panel. */
    LauncherPanel(LauncherViewModel &viewModel, const Desktop &desktop);

    /** Centres the panel on the screen under the pointer, its top edge 22% of the visible height
        below the visible top. Without any screen it stays where it is. */
    void position();

    /** Shows the panel in front of everything and gives it the keyboard. */
    void present();

    /** Called when the panel loses the keyboard. */
    std::function<void()> onResignKey;

protected:
    void changeEvent(QEvent *event) override;

private:
    void fitBackdrop();

    const Desktop &desktop_;
    LauncherView *view_;
};

} // namespace corvid
