#include "Platform/Linux/Bus/PortalHotKeys.h"

#include "Base/VirtualKeys.h"

#include <QList>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<QString> shortcutTrigger(const HotKey &hotKey) {
    return PortalHotKeys::triggerFor(hotKey);
}

} // namespace

TEST(ShortcutTriggerTest, theDefaultIsAltAndSpace) {
    EXPECT_EQ(shortcutTrigger({49, HotKey::option}), u"ALT+space"_s);
}

TEST(ShortcutTriggerTest, allModifiersComeInOneOrder) {
    EXPECT_EQ(
        shortcutTrigger({40, HotKey::command | HotKey::shift | HotKey::option | HotKey::control}),
        u"CTRL+ALT+SHIFT+LOGO+k"_s);
}

TEST(ShortcutTriggerTest, keysAreNamedByTheirUsualSymbols) {
    EXPECT_EQ(shortcutTrigger({36, HotKey::control}), u"CTRL+Return"_s);
    EXPECT_EQ(shortcutTrigger({43, HotKey::command}), u"LOGO+comma"_s);
    EXPECT_EQ(shortcutTrigger({96, HotKey::shift}), u"SHIFT+F5"_s);
    EXPECT_EQ(shortcutTrigger({97, HotKey::shift}), u"SHIFT+F6"_s);
    EXPECT_EQ(shortcutTrigger({123, HotKey::control}), u"CTRL+Left"_s);
    EXPECT_EQ(shortcutTrigger({82, HotKey::control}), u"CTRL+KP_0"_s);
    EXPECT_EQ(shortcutTrigger({122, 0}), u"F1"_s);
}

TEST(ShortcutTriggerTest, everyKeyThatThereIsHasANameOfItsOwnAndNoOtherHasOne) {
    QStringList names;
    for (quint32 code = 0; code < 256; ++code) {
        const auto trigger = shortcutTrigger({code, 0});
        EXPECT_EQ(trigger.has_value(), findKey(&VirtualKey::code, code) != nullptr) << code;
        if (trigger)
            names.append(*trigger);
    }
    EXPECT_GT(names.size(), 80);
    for (const QString &name : names)
        EXPECT_EQ(names.count(name), 1) << qPrintable(name);
}
