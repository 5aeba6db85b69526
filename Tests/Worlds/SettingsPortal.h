#pragma once

#include "Worlds/Dependent.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <gtest/gtest.h>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

/** The desktop's settings portal, on the session bus of the environment. Gone when destroyed. */
class SettingsPortal {
public:
    /** With these settings: namespace, key, value, and so on. */
    explicit SettingsPortal(
        const QStringList &settings,
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment()) {
        makeDependent(process_);
        process_.setProcessEnvironment(environment);
        process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_settings_portal"),
                       settings);
        EXPECT_TRUE(process_.waitForReadyRead(60'000));
    }
    ~SettingsPortal() {
        process_.closeWriteChannel();
        process_.waitForFinished();
    }

    /** Namespace, key and value, which may have blanks. */
    void change(const char *line) {
        process_.write(line);
        process_.write("\n");
        process_.waitForBytesWritten(60'000);
    }

private:
    QProcess process_;
};

} // namespace corvid::test
