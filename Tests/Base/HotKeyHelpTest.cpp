#include "Base/HotKeyHelp.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString name = u"Alt+Space"_s;

} // namespace

TEST(HotKeyHelpTest, whereTheKeyCouldBeHadThereIsNothingToDo) {
    const HotKeyHelp help = hotKeyHelp(name, HotKeyAnswer::Obtained, Desktop::Sway);
    EXPECT_TRUE(help.works());
    EXPECT_EQ(help, (HotKeyHelp{name, HotKeyAnswer::Obtained}));
}

TEST(HotKeyHelpTest, whileNothingIsKnownNothingIsSaid) {
    const HotKeyHelp help = hotKeyHelp(name, std::nullopt, Desktop::Sway);
    EXPECT_FALSE(help.works());
    EXPECT_EQ(help, (HotKeyHelp{name, std::nullopt}));
}

TEST(HotKeyHelpTest, eachReasonIsASentenceOfItsOwn) {
    const std::pair<HotKeyAnswer, QString> reasons[]{
        {HotKeyAnswer::Taken, u"The desktop does not give Corvid Alt+Space."_s},
        {HotKeyAnswer::NoPortal, u"No portal runs here that could give Corvid Alt+Space."_s},
        {HotKeyAnswer::NotOffered, u"This desktop gives no program a hot key."_s},
        {HotKeyAnswer::Refused, u"The desktop has refused Corvid Alt+Space."_s},
        {HotKeyAnswer::WithoutKey, u"The desktop has no key for \"Show or hide Corvid\"."_s},
        {HotKeyAnswer::Silent,
         u"The desktop has not answered yet whether Corvid may have Alt+Space."_s}};
    for (const auto &[answer, why] : reasons) {
        const HotKeyHelp help = hotKeyHelp(name, answer, Desktop::Unknown);
        EXPECT_EQ(help.why, why);
        EXPECT_FALSE(help.remedy.isEmpty()) << qPrintable(why);
        EXPECT_EQ(help.remedy.endsWith(u':'), !help.line.isEmpty()) << qPrintable(why);
    }
}

TEST(HotKeyHelpTest, everyDesktopHasTheLineOfItsOwn) {
    const std::pair<Desktop, QString> lines[]{
        {Desktop::Unknown, u"corvid --toggle"_s},
        {Desktop::Sway, u"bindsym Mod1+space exec corvid --toggle"_s},
        {Desktop::Hyprland, u"bind = SUPER, SPACE, exec, corvid --toggle"_s},
        {Desktop::Niri, u"Mod+Space { spawn \"corvid\" \"--toggle\"; }"_s},
        {Desktop::River, u"riverctl map normal Alt Space spawn 'corvid --toggle'"_s},
        {Desktop::Labwc, u"<keybind key=\"W-space\"><action name=\"Execute\" "
                         "command=\"corvid --toggle\"/></keybind>"_s},
        {Desktop::Openbox, u"<keybind key=\"W-space\"><action name=\"Execute\"><command>"
                           "corvid --toggle</command></action></keybind>"_s},
        {Desktop::Kde, u"corvid --toggle"_s},
        {Desktop::Gnome, u"corvid --toggle"_s},
        {Desktop::Xfce, u"corvid --toggle"_s}};
    QStringList remedies;
    for (const auto &[desktop, line] : lines) {
        const HotKeyHelp help = hotKeyHelp(name, HotKeyAnswer::NoPortal, desktop);
        EXPECT_EQ(help.line, line);
        EXPECT_FALSE(remedies.contains(help.remedy)) << qPrintable(help.remedy);
        remedies.append(help.remedy);
    }
}
