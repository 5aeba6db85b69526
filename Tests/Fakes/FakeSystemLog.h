#pragma once

#include "Platform/SystemLog.h"

#include <QStringList>

namespace corvid {

class FakeSystemLog final : public SystemLog {
public:
    QStringList lines;

    void write(const QString &line) override { lines.append(line); }
};

} // namespace corvid
