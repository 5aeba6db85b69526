#include "Platform/Linux/Bus/ShortcutTrigger.h"

#include "Base/VirtualKeys.h"

#include <QList>

#include <gtest/gtest.h>

using namespace corvid;

TEST(ShortcutTriggerTest, theDefaultIsAltAndSpace) {
    EXPECT_EQ(shortcutTrigger({49, HotKey::option}), "ALT+space");
}

TEST(ShortcutTriggerTest, allModifiersComeInOneOrder) {
    EXPECT_EQ(
        shortcutTrigger({40, HotKey::command | HotKey::shift | HotKey::option | HotKey::control}),
        "CTRL+ALT+SHIFT+LOGO+k");
}

TEST(ShortcutTriggerTest, keysAreNamedByTheirUsualSymbols) {
    EXPECT_EQ(shortcutTrigger({36, HotKey::control}), "CTRL+Return");
    EXPECT_EQ(shortcutTrigger({43, HotKey::command}), "LOGO+comma");
    EXPECT_EQ(shortcutTrigger({96, HotKey::shift}), "SHIFT+F5");
    EXPECT_EQ(shortcutTrigger({97, HotKey::shift}), "SHIFT+F6");
    EXPECT_EQ(shortcutTrigger({123, HotKey::control}), "CTRL+Left");
    EXPECT_EQ(shortcutTrigger({82, HotKey::control}), "CTRL+KP_0");
    EXPECT_EQ(shortcutTrigger({122, 0}), "F1");
}

TEST(ShortcutTriggerTest, everyKeyThatThereIsHasANameOfItsOwnAndNoOtherHasOne) {
    QList<QByteArray> names;
    for (quint32 code = 0; code < 256; ++code) {
        const auto trigger = shortcutTrigger({code, 0});
        EXPECT_EQ(trigger.has_value(), evdevCode(code).has_value()) << code;
        if (trigger)
            names.append(*trigger);
    }
    EXPECT_GT(names.size(), 80);
    for (const QByteArray &name : names)
        EXPECT_EQ(names.count(name), 1) << name.constData();
}
