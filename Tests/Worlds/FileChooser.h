#pragma once

#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

namespace corvid::test {

/** The desktop's file chooser on the session bus; see Helpers/FileChooserPortal.cpp. Gone when
    destroyed. */
class FileChooser {
public:
    explicit FileChooser(int version = 3, const QProcessEnvironment &environment =
                                              QProcessEnvironment::systemEnvironment()) {
        makeDependent(process_);
        process_.setProcessEnvironment(environment);
        process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_file_chooser_portal"),
                       {QString::number(version)});
        EXPECT_TRUE(was(QStringLiteral("ready")));
    }
    FileChooser(const FileChooser &) = delete;
    FileChooser &operator=(const FileChooser &) = delete;
    ~FileChooser() { leave(); }

    /** Returns when it was called that way. */
    bool was(const QString &called) {
        return eventually([&] { return told().contains(called); });
    }
    /** All calls so far. */
    QString told() {
        told_ += QString::fromUtf8(process_.readAllStandardOutput());
        return told_;
    }
    void answer(const QByteArray &line) { process_.write(line + '\n'); }
    void leave() {
        process_.closeWriteChannel();
        process_.waitForFinished();
    }

private:
    QProcess process_;
    QString told_;
};

} // namespace corvid::test
