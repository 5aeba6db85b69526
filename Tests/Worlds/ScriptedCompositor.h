#pragma once

#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

/** A Wayland compositor that does as it is told; see Helpers/ScriptedCompositor.cpp. Gone when
    destroyed. */
class ScriptedCompositor {
public:
    explicit ScriptedCompositor(const QStringList &manners = {}) {
        makeDependent(process_);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_RUNTIME_DIR"_s, folder_.path());
        process_.setProcessEnvironment(environment);
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_scripted_compositor"),
                       manners);
        EXPECT_TRUE(eventually([this] { return !lines().isEmpty(); })) << "no compositor";
        display_ = folder_.filePath(lines().value(0));
        forget();
    }
    ~ScriptedCompositor() { end(); }

    /** As $WAYLAND_DISPLAY has it: an absolute path. */
    const QString &display() const { return display_; }
    QString runtimeFolder() const { return folder_.path(); }

    /** Returns when it is done. */
    void tell(const QString &line) {
        const QString done = u"did "_s + line.section(u' ', 0, 0);
        const qsizetype before = lines().count(done);
        process_.write(line.toUtf8() + '\n');
        EXPECT_TRUE(eventually([&] { return lines().count(done) > before; })) << qPrintable(line);
    }
    /** Whether it says this, or does soon. */
    bool says(const QString &line) {
        return eventually([&] { return lines().contains(line); });
    }
    /** What it said so far. */
    QStringList lines() {
        process_.waitForReadyRead(0);
        heard_ += QString::fromUtf8(process_.readAllStandardOutput());
        return heard_.left(heard_.lastIndexOf(u'\n') + 1).split(u'\n', Qt::SkipEmptyParts);
    }
    void forget() {
        lines();
        heard_.clear();
    }
    void end() {
        process_.kill();
        process_.waitForFinished();
    }

private:
    QTemporaryDir folder_;
    QProcess process_;
    QString display_;
    QString heard_;
};

} // namespace corvid::test
