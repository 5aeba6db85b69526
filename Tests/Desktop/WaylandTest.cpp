// The whole program as a person uses it on a Wayland compositor with a layer shell: real key
// presses and clicks, and pictures of what the outputs show.

#include "DesktopTest.h"
#include "Worlds/EventuallyAfter.h"
#include "Worlds/ScriptedCompositor.h"
#include "Worlds/Sway.h"

#include <QFile>
#include <QJsonArray>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

// The shadow darkens it, but only what is not a shadow has any green.
const QString magenta = u"output * bg #ff00ff solid_color"_s;
const QStringList bindings{magenta, u"default_border none"_s,
                           u"bindsym Mod1+space exec %1 --toggle"_s.arg(executable),
                           u"bindsym Mod4+q kill"_s, u"focus_on_window_activation focus"_s};

/** The smallest rectangle around all that has any green; empty when nothing has. */
QRect greenish(const QImage &picture) {
    constexpr int some = 15;
    QRect result;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (qGreen(picture.pixel(x, y)) > some)
                result |= QRect(x, y, 1, 1);
        }
    }
    return result;
}

class WaylandTest : public ::testing::Test {
protected:
    explicit WaylandTest(const QStringList &settings = {u"output * mode 1280x800"_s},
                         int outputs = 1)
        : sway(bindings + settings, outputs) {
        Sway::giveAway(home.path({}));
        sway.plugInMouse({1280 * std::max(outputs, 1), 800});
    }
    ~WaylandTest() override {
        for (QProcess *process : {&program, &window}) {
            process->terminate();
            if (!process->waitForFinished(30'000))
                process->kill();
            process->waitForFinished();
        }
    }

    QProcessEnvironment environment() const {
        const QProcessEnvironment session = sway.environment();
        QProcessEnvironment result = home.environment(session);
        for (const QString &name : {u"WAYLAND_DISPLAY"_s, u"DBUS_SESSION_BUS_ADDRESS"_s})
            result.insert(name, session.value(name));
        return result;
    }
    /** Returns when it can find all that there is. Its panel is not shown. */
    void launch(const QStringList &options = {}, const QProcessEnvironment &additional = {}) {
        Sway::prepare(program);
        QProcessEnvironment own = environment();
        own.insert(additional);
        program.setProcessEnvironment(own);
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(executable, options.isEmpty() ? QStringList{u"--sticky"_s} : options);
        EXPECT_TRUE(home.waitForCatalogs());
    }
    /** A window with nothing but this colour. Returns when it is shown. */
    void openWindow(const QStringList &options) {
        Sway::prepare(window);
        window.setProcessEnvironment(sway.environment());
        window.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_wayland_window"), options);
        EXPECT_TRUE(window.waitForReadyRead(60'000)) << "no window";
    }
    /** Has another process pass the option on; its exit code. */
    int tell(const QString &option) const {
        QProcess other;
        Sway::prepare(other);
        other.setProcessEnvironment(environment());
        other.start(executable, {option});
        return other.waitForFinished() ? other.exitCode() : -1;
    }
    void toggle() const { sway.press(u"space"_s, u"alt"_s); }
    void summon() {
        toggle();
        EXPECT_TRUE(appears());
    }

    QRect panel(const QString &output = u"HEADLESS-1"_s) const {
        return greenish(sway.picture(output));
    }
    /** What is painted first may be smaller. */
    bool appears() const {
        return eventually([this] { return panel().height() >= 400; });
    }
    bool disappears() const {
        return eventually([this] { return panel().isEmpty(); });
    }
    /** At a click there; of the first nobody may hear, right after the panel has come. */
    bool disappearsAtClick(const QPoint &place, int button = 272) {
        return eventuallyAfter([&] { sway.click(place, button); },
                               [this] { return panel().isEmpty(); });
    }
    // That nothing happens has no event.
    bool stays() const {
        return !eventually([this] { return panel().isEmpty(); }, 500);
    }

    /** The title of the window that has the keyboard, the application's id where it has none. */
    QString focused() const {
        const std::function<QString(const QJsonObject &)> find = [&](const QJsonObject &node) {
            if (node["focused"_L1].toBool())
                return node["name"_L1].toString(node["app_id"_L1].toString());
            for (const QString &children : {u"nodes"_s, u"floating_nodes"_s})
                for (const QJsonValue &child : node[children].toArray())
                    if (const QString name = find(child.toObject()); !name.isEmpty())
                        return name;
            return QString();
        };
        return find(QJsonDocument::fromJson(sway.ask({u"-t"_s, u"get_tree"_s})).object());
    }
    bool settingsHaveKeyboard(int milliseconds = 30'000) const {
        return eventually([this] { return focused() == u"Corvid Settings"; }, milliseconds);
    }

    /** The name of the one that is shown. */
    QString workspace() const {
        const QJsonArray all =
            QJsonDocument::fromJson(sway.ask({u"-t"_s, u"get_workspaces"_s})).array();
        for (const QJsonValue &each : all)
            if (each["focused"_L1].toBool())
                return each["name"_L1].toString();
        return {};
    }

    QStringList startedWith() const { return Trace(home.path(u"app.trace"_s)).arguments(); }

    Home home;
    Sway sway;
    QProcess program;
    QProcess window;
};

const QRect place(310, 176, 660, 440); // centred; 22% of 800 below the top
const QPoint outside(30, 500);

} // namespace

TEST_F(WaylandTest, aBoundKeyATypedNameAndReturnStartTheApplication) {
    launch();
    summon();
    sway.type(u"frobn"_s);
    sway.press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
    EXPECT_TRUE(disappears());
}

TEST_F(WaylandTest, whatItStartsIsNotToldWhatItWasChosenToRunOn) {
    launch();
    summon();
    sway.type(u"frobn"_s);
    sway.press(u"Return"_s);
    const Trace trace(home.path(u"app.trace"_s));
    for (const QString &name : {u"QT_QPA_PLATFORM"_s, u"QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT"_s})
        EXPECT_EQ(trace.variable(name), std::nullopt) << qPrintable(name);
    EXPECT_EQ(trace.variable(u"WAYLAND_DISPLAY"_s), u"wayland-1");
}

TEST_F(WaylandTest, thePanelIsCentredAndItsTopAtTwentyTwoPercentEachTime) {
    launch();
    for (int round = 0; round < 3; ++round) {
        summon();
        EXPECT_EQ(panel(), place);
        toggle();
        EXPECT_TRUE(disappears());
    }
}

TEST_F(WaylandTest, barsAreNotCountedAsVisible) {
    launch();
    openWindow({u"bar"_s, u"800080"_s, u"--bar"_s, u"100"_s});
    summon();
    EXPECT_EQ(panel(), place.translated(0, 100 - 22));
}

TEST_F(WaylandTest, theCardCastsAShadowAround) {
    launch();
    summon();
    const QImage picture = sway.picture();
    const int below = qRed(picture.pixel(640, place.bottom() + 20));
    const int above = qRed(picture.pixel(640, place.top() - 20));
    EXPECT_LT(below, 200);
    EXPECT_GT(above, below) << "the light comes from above";
    EXPECT_LT(above, 255);
    EXPECT_EQ(picture.pixel(640, place.bottom() + 90), 0xFFFF00FF);
    EXPECT_EQ(picture.pixel(640, place.top() - 40), 0xFFFF00FF);
}

TEST_F(WaylandTest, escapeHidesIt) {
    launch();
    summon();
    sway.press(u"Escape"_s);
    EXPECT_TRUE(disappears());
}

// It weighs more than all of the program, and nothing is drawn with it.
TEST_F(WaylandTest, loadsNoGraphicsDriver) {
    launch();
    summon();
    QFile file(u"/proc/%1/maps"_s.arg(program.processId()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray maps = file.readAll();
    EXPECT_TRUE(maps.contains("libwayland-client.so"));
    for (const char *part : {"libEGL_", "libgallium", "_dri.so", "libLLVM"})
        EXPECT_FALSE(maps.contains(part)) << part;
}

TEST_F(WaylandTest, anotherProcessShowsAndHidesIt) {
    launch();
    for (int round = 0; round < 2; ++round) {
        for (const bool shown : {true, false}) {
            ASSERT_EQ(tell(u"--toggle"_s), 0);
            EXPECT_TRUE(shown ? appears() : disappears());
        }
    }
}

TEST_F(WaylandTest, aLeftOrRightClickElsewhereHidesIt) {
    launch();
    for (const int button : {272, 273}) {
        summon();
        EXPECT_TRUE(disappearsAtClick(outside, button)) << "button " << button;
    }
}

TEST_F(WaylandTest, aClickOnItsShadowIsOneElsewhere) {
    launch();
    summon();
    EXPECT_TRUE(disappearsAtClick({640, place.bottom() + 20}));
}

TEST_F(WaylandTest, aClickOnARowStartsIt) {
    launch();
    summon();
    sway.type(u"frobn"_s);
    // Of the first row, below the search bar. Before it is there nothing starts.
    EXPECT_TRUE(eventually([this] {
        sway.click({640, 265});
        return QFile::exists(home.path(u"app.trace"_s));
    }));
    EXPECT_EQ(startedWith(), asItsEntrySays);
    EXPECT_TRUE(disappears());
}

TEST_F(WaylandTest, aClickOnItOrTheWheelElsewhereDoesNotHideIt) {
    launch();
    summon();
    sway.click({400, 600});
    EXPECT_TRUE(stays()) << "click";
    sway.turnWheel(outside, 1);
    EXPECT_TRUE(stays()) << "wheel";
    sway.click(outside, 274);
    EXPECT_TRUE(stays()) << "middle";
    sway.type(u"frobn"_s);
    sway.press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays) << "it has kept the keyboard";
}

TEST_F(WaylandTest, movesWithThePointerThatDragsItsGroundUntilItIsShownAnew) {
    launch();
    summon();
    const QPoint footer(place.left() + 80, place.bottom() - 14);
    sway.movePointer(footer);
    sway.hold();
    for (int step = 1; step <= 8; ++step)
        sway.movePointer(footer + QPoint(-10 * step, 5 * step));
    const QRect there = place.translated(-80, 40);
    sway.release(); // as long as it holds something, the pointer is in the picture
    EXPECT_TRUE(eventually([&] { return panel() == there; }));
    EXPECT_TRUE(stays());
    sway.type(u"frobn"_s); // it still has the keyboard
    sway.press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
    EXPECT_TRUE(disappears());
    summon();
    EXPECT_EQ(panel(), place);
}

// Until a button is released, compositors tell the pointer's place in a window as that lay when the
// button was pressed, or as it lies now.
TEST_F(WaylandTest, staysBelowAPointerThatDragsItSlowly) {
    launch();
    summon();
    const QPoint footer(place.left() + 80, place.bottom() - 14);
    sway.movePointer(footer);
    sway.hold();
    for (int step = 1; step <= 5; ++step) {
        const QPoint way = step * QPoint(-20, 12);
        sway.movePointer(footer + way);
        EXPECT_TRUE(eventually([&] { return panel().topLeft() == place.topLeft() + way; })) << step;
    }
    sway.release();
    EXPECT_TRUE(stays());
    EXPECT_EQ(panel().topLeft(), place.topLeft() + QPoint(-100, 60));
}

TEST_F(WaylandTest, isAboveAFullScreenWindowAndAClickOnThatHidesIt) {
    launch();
    openWindow({u"film"_s, u"800080"_s, u"--fullscreen"_s});
    const auto filmIsShown = [this] { return sway.picture().pixel(30, 500) == 0xFF800080; };
    ASSERT_TRUE(eventually(filmIsShown));
    summon();
    EXPECT_EQ(panel(), place);
    EXPECT_TRUE(filmIsShown()) << "still shown around it";
    EXPECT_TRUE(disappearsAtClick(outside));
}

TEST_F(WaylandTest, theKeyboardGoesBackToTheWindowThatHadIt) {
    launch();
    openWindow({u"other"_s, u"800080"_s});
    const auto focused = [this] {
        return sway.ask({u"-t"_s, u"get_tree"_s}).contains("\"focused\": true");
    };
    ASSERT_TRUE(focused());
    summon();
    sway.press(u"Escape"_s);
    EXPECT_TRUE(disappears());
    // Sway closes the focused one; no panel is in the way of keys any more.
    sway.press(u"q"_s, u"logo"_s);
    EXPECT_TRUE(window.waitForFinished(30'000));
}

TEST_F(WaylandTest, aCopiedResultSurvivesTheHiding) {
    launch();
    summon();
    sway.type(u"6*7"_s);
    sway.press(u"Return"_s);
    EXPECT_TRUE(disappears());
    const auto pasted = [this] { return sway.run(u"wl-paste"_s, {u"--no-newline"_s}); };
    EXPECT_TRUE(eventually([&] { return pasted() == "42"; })) << pasted().constData();
}

TEST_F(WaylandTest, anApplicationThatRunsComesToTheFrontInsteadOfStarting) {
    launch();
    openWindow({u"org.example.Frobnicator"_s, u"800080"_s});
    sway.tell(u"workspace 2"_s);
    const auto isInFront = [this] { return sway.picture().pixel(30, 500) == 0xFF800080; };
    ASSERT_TRUE(eventually([&] { return !isInFront(); }));
    summon();
    sway.type(u"frobn"_s);
    sway.press(u"Return"_s);
    EXPECT_TRUE(disappears());
    EXPECT_TRUE(eventually(isInFront));
    EXPECT_FALSE(QFile::exists(home.path(u"app.trace"_s)));
    sway.press(u"q"_s, u"logo"_s);
    EXPECT_TRUE(window.waitForFinished(30'000)) << "sway closes what has the keyboard";
}

TEST_F(WaylandTest, whatItStartsMayComeToTheFront) {
    launch();
    summon();
    sway.type(u"frobn"_s);
    sway.press(u"Return"_s);
    const std::optional<QString> token =
        Trace(home.path(u"app.trace"_s)).variable(u"XDG_ACTIVATION_TOKEN"_s);
    ASSERT_TRUE(token);
    EXPECT_TRUE(disappears());
    openWindow({u"first"_s, u"800080"_s, u"--token"_s, *token});
    sway.tell(u"workspace 2"_s);
    ASSERT_EQ(workspace(), u"2");
    window.write("come\n");
    EXPECT_TRUE(eventually([this] { return workspace() == u"1"; }));
}

TEST_F(WaylandTest, theSettingsComeToTheFrontFromTheRowAndFromAnotherProcess) {
    openWindow({u"other"_s, u"800080"_s});
    launch();
    summon();
    sway.type(u"ai x"_s);
    sway.press(u"Down"_s);
    sway.press(u"Return"_s);
    EXPECT_TRUE(settingsHaveKeyboard());
    // Past the button that copies sway's line for the hot key, the switch and the address.
    for (int i = 0; i < 4; ++i)
        sway.press(u"Tab"_s);
    sway.type(u"entered"_s);
    for (int round = 0; round < 2; ++round) {
        // Again and again: the settings may still be on their way to the front.
        EXPECT_TRUE(eventually([this] {
            sway.tell(u"[app_id=other] focus"_s);
            return focused() == u"other";
        }));
        // Again: it may not have heard yet that they lost the keyboard.
        EXPECT_TRUE(eventually([this] {
            tell(u"--settings"_s);
            return settingsHaveKeyboard(5'000);
        })) << round;
    }
    sway.press(u"Return"_s);
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"aiModel"_s].toString() == u"entered";
    })) << "it is still there";
}

TEST_F(WaylandTest, theSettingsBelongToTheInstalledApplication) {
    launch();
    tell(u"--settings"_s);
    EXPECT_TRUE(settingsHaveKeyboard());
    EXPECT_TRUE(sway.ask({u"-t"_s, u"get_tree"_s}).contains(R"("app_id": "app.corvid.Launcher")"));
}

TEST_F(WaylandTest, aWindowSystemThatIsAskedForAndNotThereIsNotReplaced) {
    QProcess other;
    Sway::prepare(other);
    QProcessEnvironment without = environment();
    without.insert(u"CORVID_PLATFORM"_s, u"xcb"_s);
    other.setProcessEnvironment(without);
    other.start(executable, {u"--show"_s});
    ASSERT_TRUE(other.waitForFinished());
    EXPECT_EQ(other.exitCode(), 1);
    EXPECT_TRUE(other.readAllStandardError().contains("needs a display"));
}

TEST_F(WaylandTest, whatAnInputMethodOffersIsSeenAboveThePanelBelowTheText) {
    QProcessEnvironment inputMethod;
    inputMethod.insert(u"QT_PLUGIN_PATH"_s, QStringLiteral(CORVID_BUILD_FOLDER "/tests/plugins"));
    inputMethod.insert(u"QT_QPA_GENERIC_PLUGINS"_s, u"candidates"_s);
    launch({}, inputMethod);
    const auto offered = [this] {
        const QImage picture = sway.picture();
        QRect result;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixelColor(x, y) == Qt::green)
                    result |= QRect(x, y, 1, 1);
            }
        }
        return result;
    };
    for (int round = 0; round < 2; ++round) {
        summon();
        sway.type(u"f"_s);
        EXPECT_TRUE(eventually([&] { return offered().size() == QSize(100, 20); }));
        const QRect searchBar(place.topLeft(), QSize(200, 60));
        EXPECT_TRUE(searchBar.contains(offered().topLeft()));
        sway.press(u"Escape"_s);
        EXPECT_TRUE(disappears());
    }
}

TEST_F(WaylandTest, aCompositorThatHangsDoesNotHoldUpTheProgram) {
    launch();
    summon(); // the first time Qt waits for the compositor, too
    sway.press(u"Escape"_s);
    EXPECT_TRUE(disappears());
    sway.halt();
    // It answers before it does what is asked for, so the second answer tells that the first is
    // done.
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(tell(u"--show"_s), 0) << round;
    sway.goOn();
    EXPECT_TRUE(eventually([this] {
        tell(u"--show"_s);
        return panel() == place;
    })) << "what could not be shown is not taken for shown";
    sway.press(u"Escape"_s);
    EXPECT_TRUE(disappears());

    sway.halt();
    tell(u"--show"_s);
    program.terminate();
    EXPECT_TRUE(program.waitForFinished(30'000));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
}

TEST(WaylandWithoutSeatTest, itRunsWithNothingToTypeAndClickWith) {
    const Home home;
    const ScriptedCompositor compositor;
    QProcessEnvironment environment = home.environment(QProcessEnvironment::systemEnvironment());
    environment.insert(u"XDG_RUNTIME_DIR"_s, compositor.runtimeFolder());
    environment.insert(u"WAYLAND_DISPLAY"_s, compositor.display());
    QProcess program;
    makeDependent(program);
    program.setProcessEnvironment(environment);
    program.start(executable, {u"--show"_s});
    EXPECT_TRUE(home.waitForCatalogs());
    program.terminate();
    EXPECT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
}

class TwoOutputsTest : public WaylandTest {
protected:
    TwoOutputsTest()
        : WaylandTest({u"output HEADLESS-1 mode 1280x800 position 0 0"_s,
                       u"output HEADLESS-2 mode 1280x800 position 1280 0"_s},
                      2) {}
};

TEST_F(TwoOutputsTest, itComesUpOnTheActiveOne) {
    launch();
    for (const QString &output : {u"HEADLESS-2"_s, u"HEADLESS-1"_s}) {
        const QString other = output == u"HEADLESS-1" ? u"HEADLESS-2"_s : u"HEADLESS-1"_s;
        sway.tell(u"focus output "_s + output);
        toggle();
        EXPECT_TRUE(eventually([&] { return panel(output) == place; }));
        EXPECT_TRUE(panel(other).isEmpty());
        sway.click(QPoint(output == u"HEADLESS-2" ? 1280 : 0, 0) + QPoint(400, 600));
        EXPECT_TRUE(eventually([&] { return panel(output) == place; })) << "a click on it";
        sway.press(u"Escape"_s);
        EXPECT_TRUE(eventually([&] { return panel(output).isEmpty(); }));
    }
}

TEST_F(TwoOutputsTest, aClickOnTheOtherHidesIt) {
    launch();
    sway.tell(u"focus output HEADLESS-1"_s);
    summon();
    EXPECT_TRUE(disappearsAtClick({1280 + 640, 400}));
}

class ScaledOutputTest : public WaylandTest {
protected:
    ScaledOutputTest() : WaylandTest({u"output * mode 1920x1200 scale 1.5"_s}) {}
};

TEST_F(ScaledOutputTest, itIsAsLargeAndAsPlacedAsUnscaledAndSharp) {
    launch();
    summon();
    const QRect scaled(465, 264, 990, 660);
    ASSERT_TRUE(eventually([&] { return panel().intersects(scaled); }));
    const QRect seen = panel();
    EXPECT_LE((seen.topLeft() - scaled.topLeft()).manhattanLength(), 2);
    EXPECT_LE((seen.bottomRight() - scaled.bottomRight()).manhattanLength(), 2);
    // Drawn at scale 1 and enlarged, neighbours would be equal in pairs of every three.
    const QImage picture = sway.picture();
    int different = 0;
    for (int x = 500; x < 1000; ++x)
        different += picture.pixel(x, 315) != picture.pixel(x + 1, 315);
    EXPECT_GT(different, 0);
}

class NoOutputTest : public WaylandTest {
protected:
    NoOutputTest() : WaylandTest({u"output * mode 1280x800"_s}, 0) {}
};

TEST_F(NoOutputTest, whatCouldNotBeShownIsNotTakenForShown) {
    launch();
    ASSERT_EQ(tell(u"--show"_s), 0);
    // It answers before it does what is asked for. That it knows no such call it says afterwards.
    sway.run(u"dbus-send"_s, {u"--session"_s, u"--print-reply"_s, u"--dest=app.corvid.Launcher"_s,
                              u"/app/corvid/Launcher"_s, u"org.freedesktop.Application.Unknown"_s});
    sway.tell(u"create_output"_s);
    ASSERT_TRUE(eventually([this] { return sway.picture().pixelColor(30, 500) == Qt::magenta; }));
    EXPECT_TRUE(disappears()) << "the pointer, which a new output shows for a moment, does";
    ASSERT_EQ(tell(u"--show"_s), 0);
    EXPECT_TRUE(appears());
    ASSERT_EQ(tell(u"--toggle"_s), 0);
    EXPECT_TRUE(disappears());
}
