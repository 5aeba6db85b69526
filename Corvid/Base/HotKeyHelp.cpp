#include "Base/HotKeyHelp.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QString whyNot(HotKeyAnswer answer, const QString &name) {
    switch (answer) {
    case HotKeyAnswer::Obtained:
        break;
    case HotKeyAnswer::Taken:
        return u"The desktop does not give Corvid %1."_s.arg(name);
    case HotKeyAnswer::NoPortal:
        return u"No portal runs here that could give Corvid %1."_s.arg(name);
    case HotKeyAnswer::NotOffered:
        return u"This desktop gives no program a hot key."_s;
    case HotKeyAnswer::Refused:
        return u"The desktop has refused Corvid %1."_s.arg(name);
    case HotKeyAnswer::WithoutKey:
        return u"The desktop has no key for \"Show or hide Corvid\"."_s;
    case HotKeyAnswer::Silent:
        return u"The desktop has not answered yet whether Corvid may have %1."_s.arg(name);
    }
    return {};
}

struct Binding {
    QString remedy;
    QString line;
};

// What each leaves free in the configuration that it comes with: sway and river have a use for
// Super+Space, and sway complains of a second one; openbox and labwc have one for Alt+Space.
Binding bindingOn(Desktop desktop) {
    const QString command = u"corvid --toggle"_s;
    switch (desktop) {
    case Desktop::Unknown:
        break;
    case Desktop::Sway:
        return {u"Add this line to ~/.config/sway/config, and reload it:"_s,
                u"bindsym Mod1+space exec corvid --toggle"_s};
    case Desktop::Hyprland:
        return {u"Add this line to ~/.config/hypr/hyprland.conf:"_s,
                u"bind = SUPER, SPACE, exec, corvid --toggle"_s};
    case Desktop::Niri:
        return {u"Add this line to \"binds\" in ~/.config/niri/config.kdl:"_s,
                u"Mod+Space { spawn \"corvid\" \"--toggle\"; }"_s};
    case Desktop::River:
        return {u"Add this line to ~/.config/river/init, and run it:"_s,
                u"riverctl map normal Alt Space spawn 'corvid --toggle'"_s};
    case Desktop::Labwc:
        return {u"Add this line to <keyboard> in ~/.config/labwc/rc.xml, and run "
                "labwc --reconfigure:"_s,
                u"<keybind key=\"W-space\"><action name=\"Execute\" command=\"corvid --toggle\"/>"
                "</keybind>"_s};
    case Desktop::Openbox:
        return {u"Add this line to <keyboard> in ~/.config/openbox/rc.xml, and run "
                "openbox --reconfigure:"_s,
                u"<keybind key=\"W-space\"><action name=\"Execute\"><command>corvid --toggle"
                "</command></action></keybind>"_s};
    case Desktop::Kde:
        return {u"Add this command in System Settings, Shortcuts, and give it a key:"_s, command};
    case Desktop::Gnome:
        return {u"Add this command in Settings, Keyboard, View and Customize Shortcuts, Custom "
                "Shortcuts:"_s,
                command};
    case Desktop::Xfce:
        return {u"Add this command in Settings, Keyboard, Application Shortcuts:"_s, command};
    }
    return {u"Bind this command to a key in the desktop's settings:"_s, command};
}

} // namespace

HotKeyHelp hotKeyHelp(const QString &name, std::optional<HotKeyAnswer> answer, Desktop desktop) {
    HotKeyHelp help{name, answer};
    if (!answer || help.works())
        return help;
    help.why = whyNot(*answer, name);
    help.mayTryAnother = answer != HotKeyAnswer::NoPortal && answer != HotKeyAnswer::NotOffered;
    if (answer == HotKeyAnswer::WithoutKey) {
        help.remedy = u"Choose one among the shortcuts in the desktop's settings."_s;
        return help;
    }
    const Binding binding = bindingOn(desktop);
    help.remedy = binding.remedy;
    help.line = binding.line;
    return help;
}

} // namespace corvid
