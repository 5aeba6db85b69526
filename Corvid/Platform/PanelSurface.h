#pragma once

#include "Platform/Port.h"

#include <QImage>
#include <QMargins>
#include <QRect>

#include <functional>

class QScreen;
class QWindow;

namespace corvid {

/** How the session's window system carries the panel's window. Main thread only. */
class PanelSurface : public Port {
public:
    /** What a translucent window lets through. */
    enum class Behind {
        Nothing,        ///< nothing: without a compositor it would be black there
        Desktop,        ///< what lies behind it, as it is
        BlurredDesktop, ///< what lies behind it, blurred by the compositor
    };

    /** May be another one at each show. */
    virtual Behind behind() const = 0;

    /** Whether the card's shadow is this surface's matter. Where it is not, the window is larger
        than the card and shows its shadow around it. */
    virtual bool castsShadow() const { return true; }

    /** What docks and bars leave of a screen, in the device-independent pixels that the window's
        place is given in; the whole screen when nobody tells. */
    virtual QRect visibleFrame(const QScreen &screen) const = 0;

    /** Readies the window, just before each show: above everything, on every desktop, in no task
        bar, pager or window cycling, and entitled to the keyboard; cut to its rounded corners where
        nothing is behind it. Their radius is in device-independent pixels. `time` is the window
       system's time of what the user did to summon it, in its own milliseconds; 0 means now.
       Nothing here fails: a window system that refuses a wish shows a plainer panel. */
    virtual void prepare(QWindow &panel, qreal cornerRadius, quint32 time) = 0;

    /** Says that the user wants an ordinary window of ours, shown or not, which is going to be
        shown and activated: that is to give it the keyboard. */
    virtual void claimKeyboard(QWindow &window) = 0;

    /** Does what can be done only to a window that is shown, just after each show and before it is
        painted. Its top left corner belongs at `origin`, which Qt forgets on some window systems;
        the card lies at `card` in it. Device-independent pixels. */
    virtual void appeared(QWindow & /*panel*/, const QPoint & /*origin*/, const QRect & /*card*/) {}

    /** Has Qt take the shown window, which has been promised the keyboard, for the one that has it:
        it is painted once then, and not once more for its caret. */
    virtual void anticipateKeyboard(QWindow & /*panel*/) {}

    /** Whether it takes a while until the window that is being shown can be drawn to, in which it
        may be painted. */
    virtual bool leavesTimeToPaint() const { return false; }

    /** The card's shadow alone, with nothing where the card lies. */
    struct Shadow {
        /** Draws it in the background, and hands it over in the main thread if the panel still
            lives. */
        std::function<void(qreal scale, std::function<void(const QImage &)>)> draw;
        QMargins room; ///< how far it reaches beyond the card, in device-independent pixels
    };
    /** Casts the shadow of a shown window, which is the card, until it is withdrawn. After each
        show, once the window has been painted: it must not wait for its shadow. */
    virtual void castShadow(QWindow & /*panel*/, const Shadow & /*shadow*/) {}

    /** Moves the shown window along with the pointer, which has taken hold of it at `grip` in the
        window, and is now at `inWindow` in it and at `onDesktop`. Where it goes the next time it is
        shown is another matter. */
    virtual void drag(QWindow &panel, const QPoint &grip, const QPoint &inWindow,
                      const QPoint &onDesktop) = 0;

    /** Undoes what was done to show the window, just before each hide. */
    virtual void withdraw(QWindow & /*panel*/) {}

    /** Whether the keys go to the panel at this moment, whatever was told of it so far. */
    virtual bool hasKeyboard(const QWindow &panel) const = 0;
};

} // namespace corvid
