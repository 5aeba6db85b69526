// The settings as a person uses them: a real X server with a window manager and real keys.

#include "DesktopTest.h"

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString settings = u"Corvid Settings"_s;

class SettingsTest : public DesktopTest {
protected:
    bool settingsHaveKeyboard() const {
        return eventually([this] {
            return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) == settings;
        });
    }
    bool panelComes() const {
        return eventually([this] { return panelHasKeyboard(); });
    }
    bool settingsAreVisible() const {
        return !xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, settings}).isEmpty();
    }
    /** Starts with the settings and another window, which had the keyboard before. */
    void openSettings() {
        makeDependent(program);
        program.setProcessEnvironment(home.environment(server.environment()));
        program.start(executable, {u"--settings"_s});
        ASSERT_TRUE(settingsHaveKeyboard());
    }
    bool stored(int keyCode, int modifiers) const {
        return eventually([&] {
            return home.defaults()[u"hotkeyKeyCode"_s] == keyCode &&
                   home.defaults()[u"hotkeyModifiers"_s] == modifiers;
        });
    }
    /** Opens the settings anew each time, so that the keyboard is on the button that records. */
    void record(const QString &keys, int keyCode, int modifiers) {
        press(u"space"_s);
        // The hot key of before is given back in the background.
        EXPECT_TRUE(eventually([&] {
            press(keys);
            return eventually([&] { return home.defaults()[u"hotkeyKeyCode"_s] == keyCode; }, 300);
        })) << qPrintable(keys);
        EXPECT_TRUE(stored(keyCode, modifiers)) << qPrintable(keys);
    }
    /** With Return, which is for the default button. */
    void save() {
        press(u"Return"_s);
        EXPECT_TRUE(eventually([this] { return !settingsAreVisible(); }));
    }
    void expectPanelBy(const QString &keys) {
        EXPECT_TRUE(eventually([&] {
            press(keys);
            return eventually([this] { return panelHasKeyboard(); }, 500);
        })) << qPrintable(keys);
        press(u"Escape"_s);
        EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    }

    XClient other{server, {u"other"_s, u"Other"_s, u"--managed"_s}};
};

} // namespace

TEST_F(SettingsTest, aHotKeyWithSuperIsRecordedSavedAndSummonsThePanel) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"super+j"_s, 38, 0x100);
    save();
    expectPanelBy(u"super+j"_s);
    EXPECT_EQ(home.defaults()[u"aiModel"_s].toString(), u"gpt-4o-mini");
    press(u"alt+k"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); })) << "the one before is gone";
}

TEST_F(SettingsTest, aHotKeyWithAltWorksBeforeItIsSaved) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"alt+shift+j"_s, 38, 0xA00);
    press(u"alt+shift+j"_s);
    EXPECT_TRUE(panelComes());
}

TEST_F(SettingsTest, aMnemonicIsRecordedInsteadOfDone) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"alt+s"_s, 1, 0x800);
    EXPECT_TRUE(settingsAreVisible()) << "Save";
    press(u"alt+s"_s);
    EXPECT_TRUE(panelComes());
}

TEST_F(SettingsTest, theHotKeyItselfDoesNotFireWhileRecordingAndCanBeRecordedAgain) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"ctrl+j"_s, 38, 0x1000);
    press(u"space"_s);
    // It fires until it is given back in the background; recorded, it is stored as before.
    xdotool({u"sleep"_s, u"0.3"_s, u"key"_s, u"ctrl+j"_s});
    EXPECT_FALSE(panelIsVisible());
    EXPECT_TRUE(settingsHaveKeyboard());
    EXPECT_TRUE(stored(38, 0x1000));
    expectPanelBy(u"ctrl+j"_s);
}

TEST_F(SettingsTest, aCancelledRecordingLeavesTheHotKeyAsItWas) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    press(u"space"_s);
    press(u"space"_s);
    expectPanelBy(u"alt+k"_s);
    EXPECT_TRUE(stored(40, 0x800));
}

TEST_F(SettingsTest, anArrowAloneIsACombinationForWhichAltStands) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"Left"_s, 123, 0);
    expectPanelBy(u"alt+Left"_s);
}

TEST_F(SettingsTest, aPlainLetterPassesAndWithCapsLockOnItIsACombination) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    press(u"space"_s);
    // Into the model's field, over what it holds.
    xdotool({u"key"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"j"_s, u"h"_s});
    press(u"Caps_Lock"_s);
    press(u"j"_s);
    press(u"Caps_Lock"_s);
    EXPECT_TRUE(stored(38, 0));
    save();
    EXPECT_TRUE(eventually([this] { return home.defaults()[u"aiModel"_s] == u"jh"_s; }));
    expectPanelBy(u"alt+j"_s);
}

TEST_F(SettingsTest, theRowThatSetsUpAIOpensThemInFront) {
    launch();
    type(u"ai"_s);
    press(u"Return"_s);
    EXPECT_TRUE(settingsHaveKeyboard());
    EXPECT_FALSE(panelIsVisible());
}

TEST_F(SettingsTest, openingThemAgainBringsThemToTheFrontWithTheKeyboard) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    xdotool({u"windowactivate"_s, u"--sync"_s, other.window()});
    EXPECT_TRUE(eventually([this] {
        return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) != settings;
    }));
    press(u"alt+k"_s);
    EXPECT_TRUE(panelComes());
    type(u"ai"_s);
    press(u"Return"_s);
    EXPECT_TRUE(settingsHaveKeyboard());
}

TEST_F(SettingsTest, theWindowHasItsSizeAndItsPlaceAmidTheScreen) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    const QStringList geometry =
        xdotool({u"search"_s, u"--name"_s, settings, u"getwindowgeometry"_s, u"--shell"_s})
            .split(u'\n');
    EXPECT_TRUE(geometry.contains(u"WIDTH=480"_s) && geometry.contains(u"HEIGHT=420"_s));
    const auto number = [&](const QString &name) {
        return geometry.filter(name).value(0).section(u'=', 1).toInt();
    };
    constexpr int frame = 30;
    EXPECT_NEAR(number(u"X="_s), (800 - 480) / 2, frame);
    EXPECT_NEAR(number(u"Y="_s), (600 - 420) / 2, frame);
}
