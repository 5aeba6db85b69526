#include "Platform/Linux/Running/WindowMatcher.h"

#include "Platform/Linux/Launching/ProgramName.h"
#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

DesktopEntry entry(const QString &id, const QString &exec, const QString &windowClass = {}) {
    DesktopEntry result;
    result.id = id;
    result.path = "/apps/"_L1 + id + ".desktop"_L1;
    result.program = programName(exec);
    result.startupWMClass = windowClass;
    return result;
}

const WindowMatcher matcher({
    entry(u"code"_s, u"/usr/share/code/code %F"_s, u"Code"_s),
    entry(u"org.gnome.Nautilus"_s, u"nautilus --new-window %U"_s),
    entry(u"firefox-esr"_s, u"env A=1 /usr/lib/firefox-esr/firefox-esr %u"_s),
    entry(u"jetbrains-idea"_s, u"\"/opt/idea/bin/idea.sh\" %f"_s, u"jetbrains-idea"_s),
    entry(u"web-mail"_s, u"chromium --app=https://mail"_s, u"crx_mail"_s),
    entry(u"chromium"_s, u"chromium %U"_s),
    entry(u"second-code"_s, u"code --other"_s, u"code"_s),
});

struct Row {
    const char *rule;
    WindowTraits window; // instance, class, gtk id, hinted entry, launched entry, control group
    QString id;
};

} // namespace

TEST(WindowMatcher, eachTraitLeadsToItsEntry) {
    const Row rows[]{
        {"class claimed by an entry", {u"x"_s, u"Code"_s, {}, {}, {}, {}}, u"code"_s},
        {"of two claims the first counts, letter case aside",
         {u"x"_s, u"CODE"_s, {}, {}, {}, {}},
         u"code"_s},
        {"instance claimed by an entry",
         {u"crx_mail"_s, u"Chromium"_s, {}, {}, {}, {}},
         u"web-mail"_s},
        {"application id of the toolkit",
         {u"x"_s, u"X"_s, u"org.gnome.Nautilus"_s, {}, {}, {}},
         u"org.gnome.Nautilus"_s},
        {"entry hinted at",
         {u"x"_s, u"X"_s, {}, u"/apps/chromium.desktop"_s, {}, {}},
         u"chromium"_s},
        {"entry launched",
         {u"x"_s, u"X"_s, {}, {}, u"/apps/firefox-esr.desktop"_s, {}},
         u"firefox-esr"_s},
        {"class like an id", {u"x"_s, u"Firefox-esr"_s, {}, {}, {}, {}}, u"firefox-esr"_s},
        {"instance like an id", {u"firefox-esr"_s, u"Mozilla"_s, {}, {}, {}, {}}, u"firefox-esr"_s},
        {"class like the last part of an id",
         {u"x"_s, u"nautilus"_s, {}, {}, {}, {}},
         u"org.gnome.Nautilus"_s},
        {"class like a program", {u"x"_s, u"Idea.sh"_s, {}, {}, {}, {}}, u"jetbrains-idea"_s},
        {"a systemd unit",
         {u"x"_s,
          u"X"_s,
          {},
          {},
          {},
          u"0::/user.slice/app.slice/app-gnome-firefox\\x2desr-77.scope"_s},
         u"firefox-esr"_s},
        {"nothing that is known", {u"xeyes"_s, u"XEyes"_s, {}, {}, {}, {}}, {}},
        {"nothing at all", {}, {}},
        {"an unknown entry launched",
         {u"x"_s, u"X"_s, {}, {}, u"/elsewhere/code.desktop"_s, {}},
         {}},
    };
    for (const Row &row : rows) {
        const auto match = matcher.match(row.window);
        EXPECT_EQ(match ? match->id : QString(), row.id) << row.rule;
        if (match) {
            EXPECT_EQ(match->path, "/apps/"_L1 + row.id + ".desktop"_L1) << row.rule;
        }
    }
}

TEST(WindowMatcher, theStrongerEvidenceWins) {
    WindowTraits window{
        u"nautilus"_s, u"chromium"_s, {}, {}, {}, u"0::/app-gnome-jetbrains\\x2didea-1.scope"_s};
    const auto id = [&] { return matcher.match(window)->id; };
    EXPECT_EQ(id(), u"chromium") << "likeness of the class over the unit";
    window.launchedEntry = u"/apps/firefox-esr.desktop"_s;
    EXPECT_EQ(id(), u"firefox-esr") << "the launch over likeness";
    window.hintedEntry = u"/apps/code.desktop"_s;
    EXPECT_EQ(id(), u"code") << "the hint over the launch";
    window.gtkApplicationId = u"org.gnome.Nautilus"_s;
    EXPECT_EQ(id(), u"org.gnome.Nautilus") << "the toolkit over the hint";
    window.instance = u"crx_mail"_s;
    EXPECT_EQ(id(), u"web-mail") << "a claimed class over everything";
}

TEST(WindowMatcher, withoutEntriesNothingMatches) {
    EXPECT_EQ(WindowMatcher().match({u"code"_s, u"Code"_s, {}, {}, {}, {}}), std::nullopt);
}

TEST(WindowMatcher, theApplicationIsReadFromTheNameOfItsUnit) {
    const std::pair<QString, QString> rows[]{
        {u"0::/user.slice/app.slice/app-gnome-org.gnome.Nautilus-1234.scope"_s,
         u"org.gnome.Nautilus"_s},
        {u"0::/app.slice/app-flatpak-org.foo.Bar-12345.scope\n"_s, u"org.foo.Bar"_s},
        {u"0::/app.slice/app-firefox\\x2desr-9f0c.scope"_s, u"firefox-esr"_s},
        {u"0::/app.slice/app-corvid-my\\x2dapp-1.scope"_s, u"my-app"_s},
        {u"0::/app.slice/app-gnome-caf\\xc3\\xa9-1.scope"_s, u"café"_s},
        {u"0::/app.slice/app-org.kde.dolphin@af01.service"_s, u"org.kde.dolphin"_s},
        {u"0::/app.slice/app-gnome-org.gnome.Clocks@autostart.service"_s, u"org.gnome.Clocks"_s},
        {u"0::/app.slice/app-org.kde.dolphin.service"_s, u"org.kde.dolphin"_s},
        {u"0::/user.slice/session-2.scope"_s, {}},
        {u"0::/app.slice/app-alone.scope"_s, {}},
        {u"0::/app.slice/app-x-1.slice"_s, {}},
        {u"0::/"_s, {}},
        {QString(), {}},
    };
    for (const auto &[group, application] : rows)
        EXPECT_EQ(applicationOfControlGroup(group), application) << qPrintable(group);
    EXPECT_EQ(applicationOfControlGroup(u"/app-a\\x-1.scope"_s), u"a\\x");
    EXPECT_EQ(applicationOfControlGroup(u"/app-a\\x4-1.scope"_s), u"a\\x4");
}

TEST(ProcessTraits, anEntryCountsOnlyWithTheProcesssOwnNumber) {
    ProcessRecord process;
    process.pid = 42;
    process.environment =
        "GIO_LAUNCHED_DESKTOP_FILE=/a.desktop\0GIO_LAUNCHED_DESKTOP_FILE_PID=42"_ba;
    WindowTraits launched;
    addTraits(process, launched);
    EXPECT_EQ(launched.launchedEntry, u"/a.desktop"_s);
    process.pid = 43; // a child
    WindowTraits inherited;
    addTraits(process, inherited);
    EXPECT_EQ(inherited.launchedEntry, QString());
}

TEST(ProcessTraits, onlyTheFirstControlGroupCounts) {
    ProcessRecord process;
    process.controlGroups = "0::/a.scope\n1:name=systemd:/b.scope\n";
    WindowTraits traits;
    addTraits(process, traits);
    EXPECT_EQ(traits.controlGroup, u"0::/a.scope"_s);
}

TEST(ProcessTraits, aBundleIsThatOfTheProgramOrOfTheScriptThatItRuns) {
    WindowTraits ofProgram;
    ProcessRecord process;
    process.program = u"/opt/Fox.app/Contents/MacOS/Fox"_s;
    addTraits(process, ofProgram);
    EXPECT_EQ(ofProgram.bundle, u"/opt/Fox.app"_s);
    WindowTraits ofScript;
    process.program = u"/bin/sh"_s;
    process.arguments = "sh\0/opt/Fox.app/Contents/MacOS/Fox\0"_ba;
    addTraits(process, ofScript);
    EXPECT_EQ(ofScript.bundle, u"/opt/Fox.app"_s);
    WindowTraits ofRelative;
    process.arguments = "sh\0Fox.app/Contents/MacOS/Fox\0"_ba;
    addTraits(process, ofRelative);
    EXPECT_EQ(ofRelative.bundle, QString());
}
