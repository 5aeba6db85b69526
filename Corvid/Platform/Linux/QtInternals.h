#pragma once

#include <QString>

class QScreen;
class QWindow;
struct wl_display;
struct wl_interface;
struct wl_output;
struct wl_seat;
struct wl_surface;

// What Qt has that its public headers do not offer in every version that Corvid is built with. All
// of it is for the main thread, with the application object there.
namespace corvid::qt {

/** Qt's connection; null where the application does not run on Wayland. */
wl_display *waylandDisplay();

/** Whoever calls these knows that the application runs on Wayland. Null for what is not there. The
    compositor must have a seat. */
wl_seat *waylandSeat();
/** Whether Qt's seat has a device of this kind: a keyboard, a pointer or a touch screen. */
bool seatHas(const wl_interface &device);
wl_output *outputOf(QScreen &screen);
wl_surface *surfaceOf(QWindow &window);

/** On X11: the time that Qt's requests for the keyboard carry from now on. */
void setUserTime(quint32 time);
/** On X11: the server's present time, for which this waits. */
quint32 serverTime();

/** On X11: whether a compositing manager runs, as Qt keeps track of it. */
bool isComposited();

/** Has Qt take a shown window, at once, for the one that has the keyboard. */
void reportKeyboard(QWindow &window);
/** Has Qt learn, after what it is about to do, that none of its windows has the keyboard. */
void reportLostKeyboard();

/** Takes a shown window from the screen and puts it back, of which nothing in it hears. */
void remap(QWindow &window);

/** What the key that sends this code is called on the user's keyboard, as "Space" or "Ö"; empty
    where Qt does not know. */
QString keyName(quint32 scanCode);

} // namespace corvid::qt
