#pragma once

#include "Platform/Linux/GLibPointers.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

namespace corvid {

/** What an application is asked to do over the bus. */
struct BusRequest {
    QList<QUrl> urls;                 ///< to open; none for just showing itself
    std::optional<QByteArray> action; ///< one of its entry's actions instead
    QByteArray startupId;             ///< by which the desktop knows its window; empty for none
};

enum class BusActivation { Done, ServiceMissing, Failed };

/**
 * Asks an application through org.freedesktop.Application, of which its entry's id is both the
 * bus name and the object. The bus starts it where need be. Blocks until it has answered or
 * `shutdown` is cancelled; any thread. `error` is set with Failed.
 */
BusActivation activateByBus(const QString &id, const BusRequest &request, GCancellable *shutdown,
                            GErrorHolder &error);

} // namespace corvid
