// Ending the session from the panel: real keys, and a machine that writes down what it is told.

#include "ScreenReader.h"

#include <gtest/gtest.h>

#include <functional>

using namespace corvid::test;

namespace {

class SessionTest : public ScreenReaderTest {
protected:
    SessionTest() {
        // For the program that is about to start.
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", systemBus.address().toLatin1());
        launch();
        type(u"shut down"_s);
        lineWith({u"Shut Down, Session"_s, u"selected"_s});
    }
    ~SessionTest() override { qunsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }

    void pressAndAwait(const QString &key, const QString &row) const {
        press(key);
        lineWith({row, u"selected"_s});
    }
    /** Only meanwhile do keys repeat: a key that is just pressed is held for long, too, where the
        machine is busy. */
    void hold(const QString &key, const std::function<void()> &meanwhile) const {
        run(u"xset"_s, {u"r"_s, u"rate"_s, u"20"_s, u"50"_s, u"r"_s, u"on"_s});
        xdotool({u"keydown"_s, key});
        meanwhile();
        xdotool({u"keyup"_s, key});
        run(u"xset"_s, {u"r"_s, u"off"_s});
    }
    bool isShutDown() const { return readFile(trace).contains(u"Manager.PowerOff (true,)"_s); }
    bool nothingIsRecorded() const { return !home.defaults().contains(u"launchCounts"_s); }

    const QTemporaryDir folder;
    const QString trace = folder.filePath(u"login"_s);
    const BusOfServices systemBus{{}};
    const BusServices machine{trace,
                              {u"--answer=CanPowerOff=('yes',)"_s, u"org.freedesktop.login1"_s},
                              systemBus.address()};
};

const QString plain = u"Shut Down, Session"_s;
const QString question = u"Shut down? Press Return again, Session"_s;

} // namespace

TEST_F(SessionTest, aSecondReturnShutsDown) {
    pressAndAwait(u"Return"_s, question);
    EXPECT_TRUE(panelIsVisible());
    EXPECT_FALSE(isShutDown());
    EXPECT_TRUE(nothingIsRecorded());
    press(u"Return"_s);
    EXPECT_TRUE(eventually([this] { return isShutDown() && !panelIsVisible(); }));
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"launchCounts"_s].toObject().contains(u"session-shut-down"_s);
    }));
}

TEST_F(SessionTest, escapeTakesTheQuestionBackAndThenLeaves) {
    pressAndAwait(u"Return"_s, question);
    pressAndAwait(u"Escape"_s, plain);
    EXPECT_TRUE(panelIsVisible());
    pressAndAwait(u"Return"_s, question);
    press(u"Escape"_s);
    press(u"Escape"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    EXPECT_FALSE(isShutDown());
    EXPECT_TRUE(nothingIsRecorded());
}

TEST_F(SessionTest, aLetterTakesTheQuestionBack) {
    pressAndAwait(u"Return"_s, question);
    press(u"x"_s);
    lineWith({u"Search Google for"_s, u"selected"_s});
    pressAndAwait(u"BackSpace"_s, plain);
    EXPECT_FALSE(isShutDown());
    EXPECT_TRUE(nothingIsRecorded());
}

TEST_F(SessionTest, returnThatIsHeldOnlyAsks) {
    hold(u"n"_s, [this] { lineWith({u"= shut downnnnnn"_s}); }); // such a key repeats
    press(u"ctrl+a"_s);
    type(u"shut down"_s);
    lineWith({plain, u"selected"_s});
    hold(u"Return"_s, [this] {
        for (int i = 0; i < 3; ++i)
            lineWith({question, u"selected"_s});
    });
    lineWith({question, u"selected"_s});
    EXPECT_TRUE(panelIsVisible());
    EXPECT_FALSE(isShutDown());
}
