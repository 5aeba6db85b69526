#include "Platform/Linux/Syslog.h"

#include <syslog.h>

namespace corvid {

void Syslog::write(const QString &line) {
    // openlog keeps the pointer, hence the literal; calling it again changes nothing.
    openlog("corvid", LOG_PID, LOG_USER);
    syslog(LOG_ERR, "%s", line.toUtf8().constData());
}

} // namespace corvid
