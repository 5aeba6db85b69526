#pragma once

#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

/** A portal with global shortcuts on the session bus; see Helpers/ShortcutsPortal.cpp. Gone when
    destroyed. */
class ShortcutsPortal {
public:
    explicit ShortcutsPortal(
        const QStringList &manners = {},
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
        void (*prepare)(QProcess &) = makeDependent) {
        prepare(process_);
        process_.setProcessEnvironment(environment);
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(program(), manners);
        EXPECT_TRUE(eventually([this] { return lines().contains(ready); }));
    }
    ~ShortcutsPortal() { end(); }

    static QString program() {
        return QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_shortcuts_portal");
    }

    void tell(const char *line) {
        process_.write(line);
        process_.write("\n");
        process_.waitForBytesWritten();
    }
    /** Whether this call was made, or is made soon. */
    bool hears(const QString &call) {
        return eventually([&] { return calls().contains(call); });
    }
    /** All that it was asked so far. */
    QStringList calls() {
        // Whoever waited for it may have called before it came to say that it is there.
        QStringList calls = lines();
        calls.removeAll(ready);
        return calls;
    }
    void forget() {
        calls();
        heard_.clear();
    }
    void end() {
        process_.kill();
        process_.waitForFinished();
    }

private:
    static constexpr auto ready = "ready"_L1;

    QStringList lines() {
        process_.waitForReadyRead(0);
        heard_ += QString::fromUtf8(process_.readAllStandardOutput());
        return heard_.split(u'\n', Qt::SkipEmptyParts);
    }

    QProcess process_;
    QString heard_;
};

} // namespace corvid::test
