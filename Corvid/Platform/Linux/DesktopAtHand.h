#pragma once

#include "Platform/Desktop.h"

#include <QProcessEnvironment>
#include <QString>

namespace corvid {

/** The desktop of a session with this environment, whose window manager on X11 has this name,
    empty for none. Pure. */
Desktop desktopOf(const QProcessEnvironment &environment, const QString &windowManager);

/** What the key of this virtual key code is called on the user's keyboard; empty where that is not
    known. Main thread. */
QString nameOfKey(quint32 keyCode);

/** The desktop that we run on. Main thread; on X11 it waits for the server. */
Desktop desktopAtHand();

} // namespace corvid
