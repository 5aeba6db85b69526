#pragma once

#include "Platform/Port.h"

#include <QString>

namespace corvid {

/** The system log, under the identifier "corvid". Any thread; never fails. */
class SystemLog : public Port {
public:
    virtual void write(const QString &line) = 0;
};

} // namespace corvid
