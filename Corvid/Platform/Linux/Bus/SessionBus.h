#pragma once

#include "Platform/Linux/GLibPointers.h"

namespace corvid {

/**
 * This process's connection to the session bus, null where there is none. It may block while the
 * bus does not answer, so: background only; `cancellable` (from any thread) ends the wait.
 *
 * Losing the bus later does not end our process. It would if GLib connected by itself, so call
 * this before anything that makes GLib use the bus: settings, other file systems than the disk's.
 */
GObjectPointer<GDBusConnection> sessionBus(GCancellable *cancellable);

/** Another connection to it, for as long as somebody holds it, on which nobody else says anything.
    Null and blocking as above. */
GObjectPointer<GDBusConnection> ownSessionBus(GCancellable *cancellable);
/** The same for the system's bus. */
GObjectPointer<GDBusConnection> ownSystemBus(GCancellable *cancellable);

/** Whether a call failed because nobody answered in time, or because it was cancelled. */
bool meansNoAnswer(const GErrorHolder &error);

/** Whether a call failed because there is nobody, or nobody who knows it: a name without an owner,
   a service that cannot be started, an object or a method that there is not. */
bool meansNoService(const GErrorHolder &error);

} // namespace corvid
