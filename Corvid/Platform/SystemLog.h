#pragma once

#include <QString>

namespace corvid {

/** The system log, under the identifier "corvid". Any thread; never fails. */
class SystemLog {
public:
    SystemLog() = default;
    SystemLog(const SystemLog &) = delete;
    SystemLog &operator=(const SystemLog &) = delete;
    virtual ~SystemLog() = default;

    virtual void write(const QString &line) = 0;
};

} // namespace corvid
