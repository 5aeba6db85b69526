#include "Catalog/SpokenNames.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

#include <utility>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(SpokenNames, aProgramIsCalledByOneOrTwoWords) {
    const std::pair<QString, QString> rows[]{
        {u"nautilus"_s, u"nautilus"_s},
        {u"file-roller"_s, u"file roller"_s},
        {u"gnome-disks"_s, u"gnome disks"_s},
        {u"sublime_text"_s, u"sublime text"_s},
        {u"transmission-gtk"_s, u"transmission"_s},
        {u"signal-desktop"_s, u"signal"_s},
        {u"gimp-2.10"_s, u"gimp"_s},
        {u"kwalletmanager5"_s, u"kwalletmanager"_s},
        {u"k3b"_s, u"k3b"_s},
        {u"studio.sh"_s, {}},
        {u"io.elementary.tasks"_s, {}},
        {u"xfce4-keyboard-settings"_s, {}},
        {u"thunar-settings"_s, {}},
        {u"system-config-printer"_s, {}},
        {u"xfce4-screenshooter"_s, {}},
        {u"x"_s, {}},
        {QString(), {}},
    };
    for (const auto &[program, spoken] : rows)
        EXPECT_EQ(spokenProgram(program, u"org.example.App"_s), spoken) << qPrintable(program);
}

TEST(SpokenNames, aProgramThatRunsWhatOthersMadeNamesItselfOnly) {
    EXPECT_EQ(spokenProgram(u"steam"_s, u"steam"_s), u"steam"_s);
    EXPECT_EQ(spokenProgram(u"steam"_s, u"Portal 2"_s), QString());
    EXPECT_EQ(spokenProgram(u"google-chrome-stable"_s, u"google-chrome"_s), u"google chrome"_s);
    EXPECT_EQ(spokenProgram(u"google-chrome"_s, u"chrome-abcd-Default"_s), QString());
    EXPECT_EQ(spokenProgram(u"chromium"_s, u"org.chromium.Chromium"_s), u"chromium"_s);
    EXPECT_EQ(spokenProgram(u"systemsettings"_s, u"kcm_mouse"_s), QString());
    EXPECT_EQ(spokenProgram(u"gapplication"_s, u"org.gnome.Weather"_s), QString());
}

TEST(SpokenNames, aNameInCamelCaseIsSplit) {
    EXPECT_EQ(splitCamelCase(u"RustRover"_s), u"Rust Rover"_s);
    EXPECT_EQ(splitCamelCase(u"SuperTuxKart"_s), u"Super Tux Kart"_s);
    for (const QString &whole : {u"Firefox"_s, u"GIMP"_s, u"qBittorrent"_s, u"VSCodium"_s,
                                 u"LibreOffice Writer"_s, QString()})
        EXPECT_EQ(splitCamelCase(whole), QString()) << qPrintable(whole);
}

TEST(SpokenNames, initialsAreALetterForEachWordOfTwoAndMore) {
    const std::pair<QString, QString> rows[]{
        {u"Visual Studio Code"_s, u"vsc"_s},
        {u"Disk Usage Analyzer"_s, u"dua"_s},
        {u"Software & Updates"_s, u"su"_s},
        {u"RustRover"_s, {}},
        {u"draw.io"_s, {}},
        {u"Firefox"_s, {}},
        {u"Portal 2"_s, {}},
        {u"GNU Image Manipulation Program"_s, u"gimp"_s},
        {u"A Game of a Great Many Words"_s, {}},
        {u"\u00c9diteur de texte"_s, u"\u00e9dt"_s},
        {QString(), {}},
    };
    for (const auto &[name, initials] : rows)
        EXPECT_EQ(initialsOf(name), initials) << qPrintable(name);
}
