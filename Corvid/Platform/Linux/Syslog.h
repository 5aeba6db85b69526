#pragma once

#include "Platform/SystemLog.h"

namespace corvid {

/** syslog(3), which the journal reads too. */
class Syslog final : public SystemLog {
public:
    void write(const QString &line) override;
};

} // namespace corvid
