#pragma once

#include <QString>
#include <QStringList>

namespace corvid {

/** Whether the session says that it is KDE's. Any thread. */
inline bool isKde() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP")
        .split(u':')
        .contains(QLatin1StringView("KDE"), Qt::CaseInsensitive);
}

} // namespace corvid
