// The hot key from a portal of a real bus, which accepts, refuses, hangs, goes and comes again.

#include "Platform/Linux/Bus/PortalHotKeys.h"

#include "Worlds/LaunchWorld.h"
#include "Worlds/ShortcutsPortal.h"
#include "Worlds/Wait.h"

#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <optional>

using namespace corvid;
using namespace corvid::test;
using namespace std::chrono_literals;

namespace {

constexpr HotKey optionK{40, HotKey::option};
constexpr HotKey commandJ{38, HotKey::command};
constexpr HotKey optionSpace{49, HotKey::option};
constexpr HotKey superSpace{49, HotKey::command};
constexpr HotKey controlOptionSpace{49, HotKey::control | HotKey::option};

const QString hello = u"Register app.corvid.Launcher"_s;
const QString wantsK = u"BindShortcuts toggle-ALT+k ALT+k"_s;
const QString wantsJ = u"BindShortcuts toggle-LOGO+j LOGO+j"_s;

/** A hot key and what it said. */
class Registration {
public:
    HotKeyBackend::Callbacks callbacks() {
        return {[this](quint32 time) {
                    lastTime = time;
                    ++presses;
                },
                [this](HotKeyAnswer answer) {
                    lastAnswer = answer;
                    ++answers;
                }};
    }
    /** Whether this becomes its last word. */
    bool is(HotKeyAnswer answer) const {
        return waitUntil([&] { return answers > 0 && lastAnswer == answer; });
    }
    bool obtained() const { return is(HotKeyAnswer::Obtained); }
    bool pressed(int times) const {
        return waitUntil([&] { return presses >= times; }) && presses == times;
    }

    std::atomic<int> presses = 0;
    std::atomic<quint32> lastTime = 1;
    std::atomic<int> answers = 0;
    std::atomic<HotKeyAnswer> lastAnswer = HotKeyAnswer::Silent;
};

class PortalHotKeysTest : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        qunsetenv("XDG_CURRENT_DESKTOP");
        startBus();
    }
    void TearDown() override {
        hotKeys.reset();
        endBus();
        for (const QString &line : readFile(path(u"started"_s)).split(u'\n', Qt::SkipEmptyParts))
            ::kill(line.toInt(), SIGKILL);
    }

    QString path(const QString &name) const { return folder_.filePath(name); }

    void startBus() {
        QString configuration = readFile(QStringLiteral(CORVID_TEST_FIXTURES "/session-bus.conf"));
        configuration.replace(u"<auth>"_s,
                              u"<servicedir>%1</servicedir><auth>"_s.arg(path(u"services"_s)));
        writeFile(path(u"bus.conf"_s), configuration);
        QDir().mkpath(path(u"services"_s));
        makeDependent(bus_);
        bus_.start(u"dbus-daemon"_s,
                   {u"--config-file"_s, path(u"bus.conf"_s), u"--nofork"_s, u"--print-address"_s});
        ASSERT_TRUE(bus_.waitForReadyRead(60'000));
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus_.readLine().trimmed());
    }
    void endBus() {
        bus_.kill();
        bus_.waitForFinished();
    }
    /** The bus can start the portal, and each start is noted. */
    void installPortal() {
        writeFile(path(u"portal"_s), u"#!/bin/sh\necho $$ >> %1\nexec %2 --stays\n"_s.arg(
                                         path(u"started"_s), ShortcutsPortal::program()));
        QFile::setPermissions(path(u"portal"_s),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        writeFile(path(u"services/portal.service"_s),
                  u"[D-BUS Service]\nName=org.freedesktop.portal.Desktop\nExec=%1\n"_s.arg(
                      path(u"portal"_s)));
    }
    QStringList starts() const {
        return readFile(path(u"started"_s)).split(u'\n', Qt::SkipEmptyParts);
    }

    void grab(const HotKey &hotKey = optionK) { hotKeys->grab(hotKey, registration.callbacks()); }

    Registration registration;
    std::optional<PortalHotKeys> hotKeys{std::in_place};

private:
    QTemporaryDir folder_;
    QProcess bus_;
};

} // namespace

TEST_F(PortalHotKeysTest, thePortalIsToldWhoWeAreAndAskedForTheCombination) {
    ShortcutsPortal portal;
    grab();
    EXPECT_TRUE(registration.obtained());
    EXPECT_EQ(portal.calls(),
              (QStringList{hello, u"CreateSession corvid toggle-ALT+k ALT+k"_s, wantsK}));
}

TEST_F(PortalHotKeysTest, aPressArrivesWithoutATime) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(1));
    EXPECT_EQ(registration.lastTime, 0U);
}

TEST_F(PortalHotKeysTest, itsTokenIsThereOnTheMainThreadWhenThePressIsDealtWithAndNotAfter) {
    ShortcutsPortal portal;
    std::vector<QByteArray> tokens;
    hotKeys.emplace([&](const QByteArray &token) {
        EXPECT_EQ(QThread::currentThread(), qApp->thread());
        tokens.push_back(token);
    });
    QObject receiver;
    bool dealtWith = false;
    auto callbacks = registration.callbacks();
    callbacks.pressed = [&](quint32 time) {
        QMetaObject::invokeMethod(
            &receiver,
            [&, time] {
                EXPECT_EQ(tokens, std::vector<QByteArray>{"abc"});
                hotKeys->dealtWith(time, NextKeys::OurNextWindow);
                dealtWith = true;
            },
            Qt::QueuedConnection);
    };
    hotKeys->grab(optionK, callbacks);
    ASSERT_TRUE(registration.obtained());
    portal.tell("press abc");
    EXPECT_TRUE(waitUntil([&] { return dealtWith; }));
    EXPECT_EQ(tokens, (std::vector<QByteArray>{"abc", ""}));
}

TEST_F(PortalHotKeysTest, noTokenIsToldOfAPressWithoutOne) {
    ShortcutsPortal portal;
    int tokens = 0;
    hotKeys.emplace([&](const QByteArray &) { ++tokens; });
    grab();
    ASSERT_TRUE(registration.obtained());
    portal.tell("press");
    ASSERT_TRUE(registration.pressed(1));
    hotKeys->dealtWith(0, NextKeys::WhoHasTheKeyboard);
    QCoreApplication::processEvents();
    EXPECT_EQ(tokens, 0);
}

TEST_F(PortalHotKeysTest, aHeldKeyIsOnePress) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    for (const char *line : {"press", "press", "press", "release", "press"})
        portal.tell(line);
    EXPECT_TRUE(registration.pressed(2));
}

TEST_F(PortalHotKeysTest, aReleaseThatIsNeverToldDoesNotMakeTheKeyDead) {
    ShortcutsPortal portal;
    hotKeys.emplace(nullptr, 0ms);
    grab();
    ASSERT_TRUE(registration.obtained());
    portal.tell("press");
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(2));
}

TEST_F(PortalHotKeysTest, keysOfOtherShortcutsAreNotOurs) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    portal.tell("press-other");
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(1));
}

TEST_F(PortalHotKeysTest, aPortalThatDoesNotLetUsTellWhoWeAreIsAskedAllTheSame) {
    ShortcutsPortal portal({u"--knows-nobody"_s});
    grab();
    EXPECT_TRUE(registration.obtained());
}

TEST_F(PortalHotKeysTest, aRefusedShortcutCouldNotBeHadAndNoSessionIsLeft) {
    ShortcutsPortal portal({u"--refuses"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::Refused));
    EXPECT_TRUE(portal.hears(u"Session.Close"_s));
    EXPECT_EQ(portal.calls().count(wantsK), 1) << "the user is not asked again and again";
}

TEST_F(PortalHotKeysTest, aShortcutThatIsGrantedAsIfItHadComeToNothingWorks) {
    ShortcutsPortal portal({u"--grants-oddly"_s});
    grab();
    EXPECT_TRUE(registration.obtained());
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(1));
    EXPECT_FALSE(portal.calls().contains(u"Session.Close"_s));
}

TEST_F(PortalHotKeysTest, aQuestionThatComesToNothingGivesNoKey) {
    ShortcutsPortal portal({u"--comes-to-nothing"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::Refused));
    EXPECT_TRUE(portal.hears(u"Session.Close"_s));
}

TEST_F(PortalHotKeysTest, aKeyThatGnomeKeepsIsNotAskedForAndAFreeOneIsFound) {
    qputenv("XDG_CURRENT_DESKTOP", "GNOME");
    qputenv("GSETTINGS_BACKEND", "memory");
    ShortcutsPortal portal;
    std::optional<HotKey> free;
    HotKeyBackend::Callbacks callbacks = registration.callbacks();
    callbacks.foundFree = [&](const HotKey &hotKey) { free = hotKey; };
    callbacks.alternatives = {superSpace, controlOptionSpace};
    hotKeys->grab(optionSpace, callbacks);
    EXPECT_TRUE(registration.is(HotKeyAnswer::Taken));
    EXPECT_EQ(free, controlOptionSpace) << "the other one switches the layout there";
    EXPECT_TRUE(portal.hears(u"Session.Close"_s));
    grab();
    EXPECT_TRUE(registration.obtained());
    EXPECT_EQ(portal.calls().filter(u"BindShortcuts"_s), QStringList{wantsK});
}

TEST_F(PortalHotKeysTest, aShortcutThatPlasmaKnowsWithoutAKeyHasNone) {
    ShortcutsPortal portal({u"--and-plasma-without-key"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::WithoutKey));
}

TEST_F(PortalHotKeysTest, aShortcutThatPlasmaHasAKeyForWorks) {
    ShortcutsPortal portal({u"--and-plasma"_s});
    grab();
    EXPECT_TRUE(registration.obtained());
}

TEST_F(PortalHotKeysTest, aRefusedSessionCouldNotBeHad) {
    ShortcutsPortal portal({u"--refuses-session"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::Refused));
}

TEST_F(PortalHotKeysTest, aPortalWithoutShortcutsGivesNone) {
    ShortcutsPortal portal({u"--without"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::NotOffered));
    grab(commandJ);
    EXPECT_TRUE(waitUntil([this] { return registration.answers == 2; }));
    EXPECT_EQ(registration.lastAnswer, HotKeyAnswer::NotOffered);
}

TEST_F(PortalHotKeysTest, aShortcutThatHasNoKeyCouldNotBeHadUntilItIsPressed) {
    ShortcutsPortal portal({u"--without-key"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::WithoutKey));
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(1));
    EXPECT_EQ(registration.lastAnswer, HotKeyAnswer::Obtained);
}

TEST_F(PortalHotKeysTest, aPortalNeedNotTellTheKey) {
    ShortcutsPortal portal({u"--tells-no-key"_s});
    grab();
    EXPECT_TRUE(registration.obtained());
}

TEST_F(PortalHotKeysTest, aKeyThatTheUserTakesAwayOrGivesBackIsTold) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    portal.tell("keys");
    EXPECT_TRUE(registration.is(HotKeyAnswer::WithoutKey));
    portal.tell("keys Ctrl+Alt+L");
    EXPECT_TRUE(registration.obtained());
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(1));
}

TEST_F(PortalHotKeysTest, aSessionThatThePortalClosesIsLost) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    portal.tell("close");
    EXPECT_TRUE(registration.is(HotKeyAnswer::Refused));
    portal.forget();
    grab(commandJ);
    EXPECT_TRUE(registration.obtained());
    EXPECT_TRUE(portal.hears(wantsJ));
    EXPECT_FALSE(portal.calls().contains(u"Session.Close"_s)) << "it is closed already";
}

TEST_F(PortalHotKeysTest, anotherCombinationIsAskedForInASessionOfItsOwn) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    portal.forget();
    grab(commandJ);
    EXPECT_TRUE(portal.hears(wantsJ));
    EXPECT_EQ(
        portal.calls(),
        (QStringList{u"Session.Close"_s, u"CreateSession corvid toggle-LOGO+j LOGO+j"_s, wantsJ}));
    ASSERT_TRUE(waitUntil([this] { return registration.answers == 2; }));
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(1));
}

TEST_F(PortalHotKeysTest, whileTheUserIsAskedAnotherCombinationTakesBackTheQuestion) {
    ShortcutsPortal portal({u"--keeps-silent"_s});
    grab();
    ASSERT_TRUE(portal.hears(wantsK));
    grab(commandJ);
    ASSERT_TRUE(portal.hears(wantsJ));
    EXPECT_TRUE(portal.calls().contains(u"Request.Close"_s));
    EXPECT_TRUE(portal.calls().contains(u"Session.Close"_s));
    EXPECT_EQ(registration.answers, 0);
}

TEST_F(PortalHotKeysTest, aReleasedKeyIsGivenBackAndNoPressArrives) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    hotKeys->release();
    portal.tell("press");
    EXPECT_TRUE(portal.hears(u"Session.Close"_s));
    EXPECT_EQ(registration.presses, 0);
    EXPECT_EQ(registration.answers, 1);
    portal.forget();
    grab();
    EXPECT_TRUE(portal.hears(wantsK));
}

TEST_F(PortalHotKeysTest, aKeyCodeThatNoKeyHasIsNotAskedFor) {
    ShortcutsPortal portal;
    grab({200, HotKey::option});
    EXPECT_TRUE(registration.is(HotKeyAnswer::NotOffered));
    grab();
    EXPECT_TRUE(registration.obtained());
    EXPECT_EQ(portal.calls().filter(u"CreateSession"_s).size(), 1);
}

TEST_F(PortalHotKeysTest, withoutAPortalThereIsNoKeyUntilOneStarts) {
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::NoPortal));
    ShortcutsPortal portal;
    EXPECT_TRUE(registration.obtained());
    portal.tell("press");
    EXPECT_TRUE(registration.pressed(1));
}

TEST_F(PortalHotKeysTest, aPortalThatGoesAndComesIsAskedEachTime) {
    for (int round = 1; round <= 3; ++round) {
        ShortcutsPortal portal;
        if (round == 1)
            grab();
        EXPECT_TRUE(registration.obtained()) << round;
        EXPECT_EQ(portal.calls(),
                  (QStringList{hello, u"CreateSession corvid toggle-ALT+k ALT+k"_s, wantsK}));
        portal.tell("press");
        EXPECT_TRUE(registration.pressed(round));
        portal.tell("release");
        portal.end();
        EXPECT_TRUE(registration.is(HotKeyAnswer::NoPortal)) << round;
    }
}

TEST_F(PortalHotKeysTest, aPortalThatGoesAmidTheQuestionIsAskedWhenItIsBack) {
    {
        ShortcutsPortal portal({u"--keeps-silent"_s});
        grab();
        ASSERT_TRUE(portal.hears(wantsK));
    }
    EXPECT_TRUE(registration.is(HotKeyAnswer::NoPortal));
    ShortcutsPortal portal;
    EXPECT_TRUE(registration.obtained());
}

TEST_F(PortalHotKeysTest, aPortalThatComesAfterTheReleaseIsAskedForNothing) {
    grab();
    ASSERT_TRUE(registration.is(HotKeyAnswer::NoPortal));
    hotKeys->release();
    ShortcutsPortal portal;
    EXPECT_TRUE(portal.hears(hello));
    grab(commandJ);
    EXPECT_TRUE(portal.hears(wantsJ));
    EXPECT_EQ(portal.calls().filter(u"CreateSession"_s).size(), 1);
}

TEST_F(PortalHotKeysTest, aPortalThatHangsHoldsUpNobody) {
    ShortcutsPortal portal({u"--hangs"_s});
    QElapsedTimer timer;
    timer.start();
    grab();
    EXPECT_LT(timer.elapsed(), 1'000);
    ASSERT_TRUE(portal.hears(hello));
    timer.restart();
    grab(commandJ);
    hotKeys->release();
    hotKeys.reset();
    EXPECT_LT(timer.elapsed(), 1'000);
    EXPECT_EQ(registration.answers, 0);
}

TEST_F(PortalHotKeysTest, aPortalThatIsSilentForLongIsToldOfAndItsLateAnswerCounts) {
    hotKeys.emplace(nullptr, PortalHotKeys::usualRepeat, 50ms);
    ShortcutsPortal portal({u"--keeps-silent"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::Silent));
    portal.tell("answer");
    EXPECT_TRUE(registration.obtained());
    EXPECT_EQ(registration.answers, 2);
    EXPECT_EQ(portal.calls().count(wantsK), 1);
}

TEST_F(PortalHotKeysTest, aPortalThatDoesNotEvenReplyIsSilent) {
    hotKeys.emplace(nullptr, PortalHotKeys::usualRepeat, 50ms);
    ShortcutsPortal portal({u"--hangs"_s});
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::Silent));
}

TEST_F(PortalHotKeysTest, whoWantsNoKeyAnyMoreIsNotToldOfSilence) {
    hotKeys.emplace(nullptr, PortalHotKeys::usualRepeat, 50ms);
    ShortcutsPortal portal({u"--keeps-silent"_s});
    grab();
    hotKeys->release();
    EXPECT_FALSE(waitUntil([this] { return registration.answers > 0; }, 200ms));
}

TEST_F(PortalHotKeysTest, aPortalThatHungIsForgottenWhenAnotherTakesItsPlace) {
    {
        ShortcutsPortal portal({u"--hangs"_s});
        grab();
        ASSERT_TRUE(portal.hears(hello));
        grab(commandJ);
    }
    EXPECT_TRUE(registration.is(HotKeyAnswer::NoPortal));
    ShortcutsPortal portal;
    EXPECT_TRUE(registration.obtained());
    EXPECT_TRUE(portal.calls().contains(wantsJ));
    EXPECT_FALSE(portal.calls().contains(wantsK));
}

TEST_F(PortalHotKeysTest, thePortalIsStartedAndStartedAgainWhenItCrashed) {
    installPortal();
    grab();
    EXPECT_TRUE(registration.obtained());
    ASSERT_EQ(starts().size(), 1);
    ::kill(starts().constFirst().toInt(), SIGKILL);
    EXPECT_TRUE(waitUntil([this] { return registration.answers == 3; }));
    EXPECT_EQ(registration.lastAnswer, HotKeyAnswer::Obtained);
    EXPECT_EQ(starts().size(), 2);
}

TEST_F(PortalHotKeysTest, withoutABusThereIsNoKey) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    grab();
    EXPECT_TRUE(registration.is(HotKeyAnswer::NoPortal));
}

TEST_F(PortalHotKeysTest, aBusThatGoesTakesTheKeyWithIt) {
    ShortcutsPortal portal;
    grab();
    ASSERT_TRUE(registration.obtained());
    endBus();
    EXPECT_TRUE(registration.is(HotKeyAnswer::NoPortal));
}
