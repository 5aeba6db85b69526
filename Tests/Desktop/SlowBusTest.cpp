// A session bus that is slow at the start of the session.

#include "InstanceWorld.h"

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class SlowBusTest : public SingleInstanceTest {
protected:
    /** It came up without the bus, and is hidden. */
    QProcess &startBeforeTheBus(const QStringList &arguments = {}) {
        bus.pause();
        QProcess &process = start(arguments);
        EXPECT_TRUE(eventually([this] {
            return QFile::exists(folder.filePath(u".local/share/Corvid/catalog.json"_s));
        }));
        return process;
    }
    bool ownsItsName(const QProcess &process) const {
        return eventually([&] { return ownerOfName() == process.processId(); });
    }
    /** Of the process that owns the program's name on the bus; 0 for none. */
    qint64 ownerOfName() const {
        GVariant *reply = g_dbus_connection_call_sync(
            connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "GetConnectionUnixProcessID", g_variant_new("(s)", "app.corvid.Launcher"),
            G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        guint32 process = 0;
        if (reply) {
            g_variant_get(reply, "(u)", &process);
            g_variant_unref(reply);
        }
        return process;
    }
};

} // namespace

TEST_F(SlowBusTest, theNameIsClaimedWhenTheBusComesBackAndALaterToggleReachesTheFirst) {
    const QProcess &first = startBeforeTheBus();
    bus.goOn();
    EXPECT_TRUE(ownsItsName(first));
    EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
    EXPECT_TRUE(panelHasKeyboard());
    EXPECT_TRUE(runs(first));
    EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
    EXPECT_TRUE(hidesPanel());
}

TEST_F(SlowBusTest, whatIsShownStaysWhenTheBusComesBack) {
    startBeforeTheBus({u"--show"_s});
    EXPECT_TRUE(panelHasKeyboard());
    xdotool({u"type"_s, u"abc"_s});
    const QString window = xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s});
    bus.goOn();
    // As long as it takes the bus to answer somebody who asked later.
    EXPECT_EQ(ownerOfName(), 0);
    EXPECT_EQ(ownerOfName(), 0);
    EXPECT_EQ(xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s}), window);
}

TEST_F(SlowBusTest, whatIsStartedIsGivenTheBusAndEveryByteOfOurEnvironment) {
    const QString trace = folder.filePath(u"app.trace"_s);
    const QString program = folder.filePath(u"bin/frobnicator"_s);
    writeFile(program, u"#!/bin/sh\nenv -0 > '%1.part'; mv '%1.part' '%1'\n"_s.arg(trace));
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    writeFile(folder.filePath(u".local/share/applications/frob.desktop"_s),
              u"[Desktop Entry]\nType=Application\nName=Frobnicator\nExec=%1\n"_s.arg(program));
    bus.pause();
    QProcess &process = *processes.emplace_back(std::make_unique<QProcess>());
    makeDependent(process);
    process.setProcessEnvironment(environment);
    process.start(u"sh"_s, {u"-c"_s, u"export FOO=$(printf '\\377\\376A'); exec %1 --show"_s.arg(
                                         executable)});
    EXPECT_TRUE(panelHasKeyboard());
    EXPECT_TRUE(eventually([this] {
        return readFile(folder.filePath(u".local/share/Corvid/catalog.json"_s))
            .contains(u"Frobnicator"_s);
    }));
    xdotool({u"type"_s, u"frob"_s});
    xdotool({u"key"_s, u"Return"_s});
    ASSERT_TRUE(eventually([&] { return QFile::exists(trace); }));
    QFile file(trace);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> definitions = file.readAll().split('\0');
    EXPECT_TRUE(definitions.contains("FOO=\xff\xfe"
                                     "A"));
    EXPECT_TRUE(definitions.contains("DBUS_SESSION_BUS_ADDRESS=" + bus.address().toUtf8()));
    for (const QByteArray &definition : definitions)
        EXPECT_FALSE(definition.startsWith("QT_QPA") || definition.startsWith("QT_WAYLAND"))
            << definition.constData();
}

TEST_F(SlowBusTest, ofTwoThatCameBeforeTheBusOneLivesAndNothingIsShown) {
    QProcess &one = startBeforeTheBus();
    environment.insert(u"XDG_DATA_HOME"_s, folder.filePath(u"of two"_s));
    QProcess &two = start({});
    ASSERT_TRUE(eventually(
        [this] { return QFile::exists(folder.filePath(u"of two/Corvid/catalog.json"_s)); }));
    bus.goOn();
    ASSERT_TRUE(eventually([&] { return runs(one) != runs(two); }));
    EXPECT_EQ(ended(runs(one) ? two : one).exitCode, 0);
    EXPECT_TRUE(ownsItsName(runs(one) ? one : two));
    EXPECT_FALSE(panelIsVisible());
}

TEST_F(SlowBusTest, whoIsToEndEndsWhileTheBusIsSilent) {
    QProcess &first = startBeforeTheBus();
    first.terminate();
    EXPECT_EQ(ended(first).exitCode, 0);
}
