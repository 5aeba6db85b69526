#pragma once

#include "SettingsView.h"

#include <QWidget>

namespace corvid {

class PanelSurface;

/** The settings' window, of fixed size, in the desktop's colours and font. Closing hides it. Main
    thread only. */
class SettingsWindow final : public QWidget {
    Q_OBJECT

public:
    /** The surface outlives the window. */
    SettingsWindow(SettingsView::Environment environment, PanelSurface &surface);

    /** Shows the window in front of others and gives it the keyboard, on the middle of the screen
        under the pointer when it is shown for the first time. */
    void present();

    /** Takes over changed colours and fonts. */
    void applyStyle();

    SettingsView &view() { return *view_; }

private:
    PanelSurface &surface_;
    SettingsView *view_;
    bool centred_ = false;
};

} // namespace corvid
