// What a screen reader finds in the panel: the real program, asked over a real accessibility bus.

#include "ScreenReader.h"

#include <gtest/gtest.h>

using namespace corvid::test;

namespace {

class AccessibilityTest : public ScreenReaderTest {
protected:
    AccessibilityTest() { launch(); }
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
    EXPECT_TRUE(lineWith({u"| Clear |"_s, u"showing"_s}).startsWith(u"button"_s));
}

TEST_F(AccessibilityTest, theSymbolBesideTheFieldHasAName) {
    EXPECT_TRUE(lineWith({u"| Search symbol |"_s}).startsWith(u"button"_s));
}

TEST_F(AccessibilityTest, theHintsOfTheFooterCanBeRead) {
    EXPECT_TRUE(lineWith({u"navigate"_s}).startsWith(u"label"_s));
}

TEST_F(AccessibilityTest, everyControlOfTheSettingsHasItsName) {
    type(u"ai x"_s);
    press(u"Down"_s);
    press(u"Return"_s);
    for (const QString &control :
         {u"button | Change |"_s, u"check box | Enable AI features (`ai` prefix) |"_s,
          u"text | Base URL |"_s, u"text | Model |"_s,
          u"password text | API key (stored in Keychain) |"_s,
          u"button | Remove %1 |"_s.arg(home.path(u"Code"_s)), u"button | Add folder... |"_s,
          u"button | Save |"_s})
        EXPECT_TRUE(lineWith({control}).startsWith(control)) << qPrintable(control);
    EXPECT_TRUE(lineWith({u"| Change |"_s, u"focused"_s}).contains(u"showing"_s));
    EXPECT_TRUE(lineWith({u"| ⌥ K | Hotkey |"_s}).startsWith(u"label"_s));
    EXPECT_FALSE(tree().join(u'\n').contains(u"corvid --toggle"_s));
}

TEST_F(AccessibilityTest, theSettingsSayThatTheHotKeyCouldNotBeHadAndWhatElseSummons) {
    program.terminate();
    EXPECT_TRUE(program.waitForFinished());
    writeFile(home.path(u".config/Corvid/defaults.json"_s), u"{}"_s); // so it is the manager's key
    program.start(executable, {u"--settings"_s});
    const QString hint = lineWith({u"label | The desktop does not give Corvid Alt+Space."_s});
    EXPECT_TRUE(hint.contains(u"openbox --reconfigure"_s)) << qPrintable(hint);
    EXPECT_TRUE(hint.contains(u"showing"_s));
    lineWith({u"<command>corvid --toggle</command>"_s, u"showing"_s});
    lineWith({u"button | Copy |"_s, u"showing"_s});
    lineWith({u"button | Use Super+Space |"_s, u"showing"_s});
}
