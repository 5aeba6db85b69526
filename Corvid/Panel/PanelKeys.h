#pragma once

#include "LauncherViewModel.h"

class QKeyEvent;

namespace corvid {

/** What a key does in the panel, whichever of the keys that people are used to it is. */
enum class PanelKey {
    Other,
    Escape,
    Up,
    Down,
    PageUp,
    PageDown,
    First,
    Last,
    DeleteWord,    ///< before the caret
    DeleteToStart, ///< from the caret
    Settings,
    Quit,
};

/** The key for the panel itself. Pure. */
PanelKey panelKeyOf(const QKeyEvent &event);

/** The press as the view model sees it: by its key, since the text is a control character while
    Control is held. Where the layout has no Latin letter or digit on the key, its position counts.
    Shift+Delete counts as meant for the list. Whether it repeats is HeldKey's to say. */
KeyPress keyPressOf(const QKeyEvent &event);

/** Whether a key is held down for another one, and is none by itself. */
bool isModifier(const QKeyEvent &event);

} // namespace corvid
