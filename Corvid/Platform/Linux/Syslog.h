#pragma once

#include "Platform/SystemLog.h"

#include <syslog.h>

namespace corvid {

/** syslog(3), which the journal reads too. */
class Syslog final : public SystemLog {
public:
    void write(const QString &line) override {
        // openlog keeps the pointer, hence the literal; calling it again changes nothing.
        openlog("corvid", LOG_PID, LOG_USER);
        syslog(LOG_ERR, "%s", line.toUtf8().constData());
    }
};

} // namespace corvid
