// What a screen reader finds in the panel: the real program, asked over a real accessibility bus.

#include "Desktop/DesktopTest.h"

#include <gtest/gtest.h>

using namespace corvid::test;

namespace {

/** A session bus with the accessibility services of this machine. */
class BusOfServices {
public:
    BusOfServices() {
        makeDependent(daemon_);
        daemon_.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        EXPECT_TRUE(daemon_.waitForReadyRead(20'000)) << "no session bus";
        address_ = QString::fromLatin1(daemon_.readLine().trimmed());
    }
    ~BusOfServices() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }
    const QString &address() const { return address_; }

private:
    QProcess daemon_;
    QString address_;
};

class AccessibilityTest : public DesktopTest {
protected:
    AccessibilityTest() {
        QProcessEnvironment additional;
        additional.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        // What a desktop says over the bus when a screen reader runs.
        additional.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        launch({}, additional);
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

    BusOfServices bus;
};

} // namespace

TEST_F(AccessibilityTest, theFieldHasANameAndTheFocusAndItsText) {
    type(u"frob"_s);
    EXPECT_EQ(lineWith({u"| Search |"_s, u"= frob"_s}),
              u"text | Search | Search apps, projects, or try “code editor”, “frontend in cursor”, "
              u"“ai ...” | "
              "focused editable showing = frob");
}

TEST_F(AccessibilityTest, rowsHaveTitleBadgeAndSubtitleAndTheSelectedOneSaysSo) {
    type(u"frob"_s);
    EXPECT_TRUE(lineWith({u"list | Results |"_s}).contains(u"showing"_s));
    const QString first = lineWith({u"Frobnicator, App"_s, u"selected"_s});
    EXPECT_TRUE(first.startsWith(u"list item | Frobnicator, App | ")) << qPrintable(first);
    EXPECT_TRUE(first.contains(u"org.example.Frobnicator.desktop"_s)) << qPrintable(first);
    const QString second = lineWith({u"frobs, "_s});
    EXPECT_FALSE(second.contains(u"selected"_s)) << qPrintable(second);
    press(u"Down"_s);
    EXPECT_TRUE(lineWith({u"frobs, "_s, u"selected"_s}).contains(u"~/Code/frobs"_s));
}

TEST_F(AccessibilityTest, theClearButtonIsAButtonWithAName) {
    type(u"f"_s);
    EXPECT_TRUE(lineWith({u"| Clear |"_s, u"showing"_s}).startsWith(u"push button"_s));
}

TEST_F(AccessibilityTest, theHintsOfTheFooterCanBeRead) {
    EXPECT_TRUE(lineWith({u"navigate"_s}).startsWith(u"label"_s));
}
