#pragma once

#include "DesktopTest.h"
#include "Worlds/BusOfServices.h"

namespace corvid::test {

/** The program with what a screen reader finds in it, over a real accessibility bus. */
class ScreenReaderTest : public DesktopTest {
protected:
    using DesktopTest::DesktopTest;

    void launch() {
        QProcessEnvironment additional;
        additional.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        // What a desktop says over the bus when a screen reader runs.
        additional.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        DesktopTest::launch({}, additional);
    }

    QStringList tree() const {
        QProcess reader;
        QProcessEnvironment environment = server.environment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        reader.setProcessEnvironment(environment);
        reader.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // The system's own: another one that comes first in the path knows none of its modules.
        reader.start(u"/usr/bin/python3"_s,
                     {QStringLiteral(CORVID_TEST_FIXTURES "/../Helpers/accessible_tree.py")});
        reader.waitForFinished();
        return QString::fromUtf8(reader.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    }
    /** Without the depths. Reads until some line contains all of these, and answers that line. */
    QString lineWith(const QStringList &parts) const {
        QString found;
        const bool is = eventually([&] {
            for (const QString &line : tree()) {
                bool all = true;
                for (const QString &part : parts)
                    all = all && line.contains(part);
                if (all) {
                    found = line.section(u' ', 1);
                    return true;
                }
            }
            return false;
        });
        if (!is)
            ADD_FAILURE() << qPrintable(tree().join(u'\n'));
        return found;
    }

    BusOfServices bus{{u"org.a11y.Bus"_s}};
};

} // namespace corvid::test
