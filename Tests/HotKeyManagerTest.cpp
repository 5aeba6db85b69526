#include "HotKeyManager.h"

#include "Fakes/FakeHotKeyBackend.h"
#include "Worlds/EventLoop.h"
#include "Worlds/QtPrinters.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Said = std::vector<std::pair<quint32, NextKeys>>;

class HotKeyManagerTest : public ::testing::Test {
protected:
    static void runLoop() { QCoreApplication::processEvents(); }
    HotKeyManager::Handler countIn(int &count) {
        return [&count] { ++count; };
    }

    FakeHotKeyBackend backend;
    HotKeyManager manager{backend};
};

} // namespace

TEST(HotKeyDescriptionTest, modifiersStandInAFixedOrderBeforeASpaceAndTheName) {
    EXPECT_EQ(HotKeyManager::describe(49, 0x800), u"⌥ Space");
    EXPECT_EQ(HotKeyManager::describe(49, 0x1B00), u"⌃⌥⇧⌘ Space");
    EXPECT_EQ(HotKeyManager::describe(40, 0x100), u"⌘ K");
    EXPECT_EQ(HotKeyManager::describe(40, 0x200), u"⇧ K");
    EXPECT_EQ(HotKeyManager::describe(40, 0x1000), u"⌃ K");
}

TEST(HotKeyDescriptionTest, theSpaceIsThereWithoutModifiersToo) {
    EXPECT_EQ(HotKeyManager::describe(36, 0), u" Return");
}

TEST(HotKeyDescriptionTest, unknownModifierBitsLeaveNoTrace) {
    EXPECT_EQ(HotKeyManager::describe(36, 0xFFFFE4FFU), u" Return");
}

TEST(HotKeyDescriptionTest, keysWithoutANameAreTheirNumber) {
    EXPECT_EQ(HotKeyManager::describe(27, 0x100), u"⌘ Key 27");
    for (const quint32 code : {24U, 27U, 30U, 33U, 10U, 127U, 4294967295U})
        EXPECT_EQ(HotKeyManager::describe(code, 0), u" Key %1"_s.arg(code));
}

TEST(HotKeyDescriptionTest, everyNamedKeyHasItsName) {
    const std::pair<quint32, QString> names[]{
        {49, u"Space"_s}, {36, u"Return"_s}, {48, u"Tab"_s}, {51, u"Delete"_s}, {53, u"Esc"_s},
        {0, u"A"_s},      {1, u"S"_s},       {2, u"D"_s},    {3, u"F"_s},       {4, u"H"_s},
        {5, u"G"_s},      {6, u"Z"_s},       {7, u"X"_s},    {8, u"C"_s},       {9, u"V"_s},
        {11, u"B"_s},     {12, u"Q"_s},      {13, u"W"_s},   {14, u"E"_s},      {15, u"R"_s},
        {16, u"Y"_s},     {17, u"T"_s},      {18, u"1"_s},   {19, u"2"_s},      {20, u"3"_s},
        {21, u"4"_s},     {22, u"6"_s},      {23, u"5"_s},   {25, u"9"_s},      {26, u"7"_s},
        {28, u"8"_s},     {29, u"0"_s},      {31, u"O"_s},   {32, u"U"_s},      {34, u"I"_s},
        {35, u"P"_s},     {37, u"L"_s},      {38, u"J"_s},   {39, u"'"_s},      {40, u"K"_s},
        {41, u";"_s},     {42, u"\\"_s},     {43, u","_s},   {44, u"/"_s},      {45, u"N"_s},
        {46, u"M"_s},     {47, u"."_s},      {50, u"`"_s},   {96, u"F5"_s},     {97, u"F7"_s},
        {98, u"F3"_s},    {99, u"F9"_s},     {100, u"F8"_s}, {101, u"F6"_s},    {103, u"F11"_s},
        {109, u"F10"_s},  {111, u"F12"_s},   {118, u"F4"_s}, {120, u"F2"_s},    {122, u"F1"_s},
        {123, u"←"_s},    {124, u"→"_s},     {125, u"↓"_s},  {126, u"↑"_s},
    };
    ASSERT_EQ(std::size(names), 64U);
    for (const auto &[code, name] : names)
        EXPECT_EQ(HotKeyManager::describe(code, 0), u' ' + name) << code;
}

TEST(HotKeyFlagsTest, eachModifierHasItsBit) {
    EXPECT_EQ(HotKeyManager::carbonFlags({}), 0U);
    EXPECT_EQ(HotKeyManager::carbonFlags(ModifierFlag::Command), 0x100U);
    EXPECT_EQ(HotKeyManager::carbonFlags(ModifierFlag::Shift), 0x200U);
    EXPECT_EQ(HotKeyManager::carbonFlags(ModifierFlag::Option), 0x800U);
    EXPECT_EQ(HotKeyManager::carbonFlags(ModifierFlag::Control), 0x1000U);
    EXPECT_EQ(HotKeyManager::carbonFlags({ModifierFlag::Command, ModifierFlag::Shift,
                                          ModifierFlag::Option, ModifierFlag::Control}),
              0x1B00U);
}

TEST(HotKeyFlagsTest, capsLockFunctionAndKeypadAreIgnored) {
    constexpr ModifierFlags ignored{ModifierFlag::CapsLock, ModifierFlag::Function,
                                    ModifierFlag::NumericPad};
    EXPECT_EQ(HotKeyManager::carbonFlags(ignored), 0U);
    EXPECT_EQ(HotKeyManager::carbonFlags(ignored | ModifierFlag::Option), 0x800U);
}

TEST_F(HotKeyManagerTest, nothingIsGrabbedAtFirst) {
    EXPECT_TRUE(backend.grabs.empty());
    EXPECT_EQ(manager.answer(), std::nullopt);
    EXPECT_EQ(manager.lastPressTime(), 0U);
}

TEST_F(HotKeyManagerTest, registeringGrabsTheCombination) {
    manager.registerHotKey(49, 0x800, [] {});
    EXPECT_EQ(backend.grabbed, (HotKey{49, 0x800}));
}

TEST_F(HotKeyManagerTest, theHandlerRunsFromTheEventLoopOnceForEachPress) {
    int presses = 0;
    manager.registerHotKey(49, 0x800, countIn(presses));
    backend.press();
    backend.press();
    EXPECT_EQ(presses, 0);
    runLoop();
    EXPECT_EQ(presses, 2);
}

TEST_F(HotKeyManagerTest, theHandlerRunsOnTheMainThreadWhereverThePressArrives) {
    const QThread *handledOn = nullptr;
    manager.registerHotKey(49, 0x800, [&] { handledOn = QThread::currentThread(); });
    std::thread([this] { backend.press(); }).join();
    EXPECT_TRUE(eventually([&] { return handledOn != nullptr; }));
    EXPECT_EQ(handledOn, QThread::currentThread());
}

TEST_F(HotKeyManagerTest, registeringTwiceLeavesOneHotKeyAndTheSecondHandler) {
    int first = 0;
    int second = 0;
    manager.registerHotKey(49, 0x800, countIn(first));
    manager.registerHotKey(40, 0x100, countIn(second));
    EXPECT_EQ(backend.grabbed, (HotKey{40, 0x100}));
    EXPECT_EQ(backend.releases, 1);
    EXPECT_EQ(backend.replacedWithoutRelease, 0);
    backend.press();
    runLoop();
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST_F(HotKeyManagerTest, aPressOnItsWayCallsTheHandlerOfThatTime) {
    int first = 0;
    int second = 0;
    manager.registerHotKey(49, 0x800, countIn(first));
    backend.press();
    manager.registerHotKey(40, 0x100, countIn(second));
    runLoop();
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST_F(HotKeyManagerTest, aHandlerMayRegisterAnother) {
    int presses = 0;
    manager.registerHotKey(49, 0x800, [&] { manager.registerHotKey(40, 0x100, countIn(presses)); });
    backend.press();
    runLoop();
    backend.press();
    runLoop();
    EXPECT_EQ(presses, 1);
}

TEST_F(HotKeyManagerTest, withoutAHandlerAPressDoesNothing) {
    manager.registerHotKey(49, 0x800, {});
    backend.press(5);
    runLoop();
    EXPECT_EQ(manager.lastPressTime(), 5U);
}

TEST_F(HotKeyManagerTest, theHandlerCanAskForThePressesTime) {
    quint32 seen = 0;
    manager.registerHotKey(49, 0x800, [&] { seen = manager.lastPressTime(); });
    backend.press(4'000'000'000U);
    runLoop();
    EXPECT_EQ(seen, 4'000'000'000U);
}

TEST_F(HotKeyManagerTest, aPressIsDealtWithOnceTheHandlerHasRun) {
    manager.registerHotKey(49, 0x800, [&] { EXPECT_TRUE(backend.said.empty()); });
    backend.press(7);
    EXPECT_TRUE(backend.said.empty());
    runLoop();
    EXPECT_EQ(backend.said, (Said{{7, NextKeys::WhoHasTheKeyboard}}));
}

TEST_F(HotKeyManagerTest, theHandlerSaysThatTheKeysAfterThisPressAreForOurWindow) {
    bool shows = true;
    manager.registerHotKey(49, 0x800, [&] {
        if (std::exchange(shows, false))
            manager.expectKeyboard();
    });
    backend.press(7);
    backend.press(8);
    runLoop();
    EXPECT_EQ(backend.said, (Said{{7, NextKeys::OurNextWindow}, {8, NextKeys::WhoHasTheKeyboard}}));
}

TEST_F(HotKeyManagerTest, withoutAHandlerAPressIsDealtWithToo) {
    manager.registerHotKey(49, 0x800, {});
    backend.press(7);
    runLoop();
    EXPECT_EQ(backend.said, (Said{{7, NextKeys::WhoHasTheKeyboard}}));
}

TEST_F(HotKeyManagerTest, unregisteringReleasesOnce) {
    manager.unregister();
    EXPECT_EQ(backend.releases, 0);
    manager.registerHotKey(49, 0x800, [] {});
    manager.unregister();
    manager.unregister();
    EXPECT_EQ(backend.grabbed, std::nullopt);
    EXPECT_EQ(backend.releases, 1);
}

TEST_F(HotKeyManagerTest, itCanRegisterAgainAfterUnregistering) {
    int presses = 0;
    manager.registerHotKey(49, 0x800, [] {});
    manager.unregister();
    manager.registerHotKey(49, 0x800, countIn(presses));
    backend.press();
    runLoop();
    EXPECT_EQ(presses, 1);
}

TEST_F(HotKeyManagerTest, whetherTheCombinationCouldBeHadIsKnownOnceTheBackendSaysSo) {
    manager.registerHotKey(49, 0x800, [] {});
    EXPECT_EQ(manager.answer(), std::nullopt);
    backend.callbacks.answered(HotKeyAnswer::Taken);
    runLoop();
    EXPECT_EQ(manager.answer(), HotKeyAnswer::Taken);
    backend.callbacks.answered(HotKeyAnswer::Obtained);
    runLoop();
    EXPECT_EQ(manager.answer(), HotKeyAnswer::Obtained);
    manager.unregister();
    EXPECT_EQ(manager.answer(), std::nullopt);
}

TEST_F(HotKeyManagerTest, anAnswerToAnEarlierRegistrationIsNotTakenForTheLatest) {
    manager.registerHotKey(49, 0x800, [] {});
    backend.callbacks.answered(HotKeyAnswer::Taken);
    manager.registerHotKey(40, 0x100, [] {});
    runLoop();
    EXPECT_EQ(manager.answer(), std::nullopt);
}

TEST(HotKeyManagerLifetimeTest, destroyingItReleasesAndDropsPressesOnTheirWay) {
    FakeHotKeyBackend backend;
    int presses = 0;
    {
        HotKeyManager manager(backend);
        manager.registerHotKey(49, 0x800, [&] { ++presses; });
        backend.press();
    }
    EXPECT_EQ(backend.grabbed, std::nullopt);
    QCoreApplication::processEvents();
    EXPECT_EQ(presses, 0);
}

TEST(SharedHotKeyManagerDeathTest, usingItBeforeThePlatformInstalledItsBackendIsFatal) {
    EXPECT_DEATH(HotKeyManager::shared(), "backend");
}

TEST(SharedHotKeyManagerTest, thereIsOneForTheProcess) {
    static FakeHotKeyBackend backend;
    HotKeyManager::installBackend(&backend);
    EXPECT_EQ(&HotKeyManager::shared(), &HotKeyManager::shared());
    HotKeyManager::shared().registerHotKey(49, 0x800, [] {});
    EXPECT_EQ(backend.grabbed, (HotKey{49, 0x800}));
    HotKeyManager::shared().unregister();
    EXPECT_EQ(backend.grabbed, std::nullopt);
}

TEST_F(HotKeyManagerTest, whilePausedNothingIsGrabbedAndTheSameComesBack) {
    int presses = 0;
    manager.registerHotKey(40, 0x100, countIn(presses));
    manager.pause();
    EXPECT_EQ(backend.grabbed, std::nullopt);
    manager.pause();
    EXPECT_EQ(backend.releases, 1);
    manager.resume();
    EXPECT_EQ(backend.grabbed, (HotKey{40, 0x100}));
    manager.resume();
    EXPECT_EQ(backend.grabs.size(), 2U);
    backend.press();
    runLoop();
    EXPECT_EQ(presses, 1);
}

TEST_F(HotKeyManagerTest, aPressOnItsWayWhenThePauseBeginsIsDropped) {
    int presses = 0;
    manager.registerHotKey(40, 0x100, countIn(presses));
    backend.press(7);
    manager.pause();
    runLoop();
    EXPECT_EQ(presses, 0);
    EXPECT_EQ(backend.said, (Said{{7, NextKeys::WhoHasTheKeyboard}})) << "dealt with all the same";
}

TEST_F(HotKeyManagerTest, registeringAnotherEndsThePause) {
    manager.registerHotKey(40, 0x100, [] {});
    manager.pause();
    manager.registerHotKey(49, 0x800, [] {});
    EXPECT_EQ(backend.grabbed, (HotKey{49, 0x800}));
    manager.resume();
    EXPECT_EQ(backend.grabs.size(), 2U);
    EXPECT_EQ(backend.releases, 1);
}

TEST_F(HotKeyManagerTest, aPauseWithoutAHotKeyIsNone) {
    manager.pause();
    manager.resume();
    EXPECT_TRUE(backend.grabs.empty());
    manager.registerHotKey(40, 0x100, [] {});
    manager.pause();
    manager.unregister();
    manager.resume();
    EXPECT_EQ(backend.grabbed, std::nullopt);
    EXPECT_EQ(backend.releases, 1);
}

TEST_F(HotKeyManagerTest, aCombinationIsNamedAsTheUsersKeyboardCallsItsKeys) {
    EXPECT_EQ(manager.nameOf({49, HotKey::option}), u"Alt+Space");
    EXPECT_EQ(manager.nameOf({49, 0x1B00}), u"Ctrl+Alt+Shift+Super+Space");
    EXPECT_EQ(manager.nameOf({41, HotKey::command}), u"Super+;");
    backend.names.insert(41, u"Ö"_s);
    EXPECT_EQ(manager.nameOf({41, HotKey::command}), u"Super+Ö");
}

TEST_F(HotKeyManagerTest, whatIsToBeSaidOfItFollowsWhatBecameOfIt) {
    EXPECT_EQ(manager.help(), HotKeyHelp{}) << "nothing is registered";
    backend.where = Desktop::Openbox;
    manager.registerHotKey(49, HotKey::option, [] {});
    EXPECT_EQ(manager.help(), (HotKeyHelp{u"Alt+Space"_s, std::nullopt}));
    backend.callbacks.answered(HotKeyAnswer::Taken);
    runLoop();
    EXPECT_EQ(manager.help(), hotKeyHelp(u"Alt+Space"_s, HotKeyAnswer::Taken, Desktop::Openbox));
    backend.callbacks.answered(HotKeyAnswer::Obtained);
    runLoop();
    EXPECT_TRUE(manager.help().works());
}

TEST_F(HotKeyManagerTest, oneThatIsFreeIsOfferedWhileTheOtherIsTaken) {
    manager.registerHotKey(49, HotKey::option, [] {});
    ASSERT_FALSE(backend.callbacks.alternatives.empty());
    const HotKey free = backend.callbacks.alternatives.front();
    EXPECT_EQ(free, (HotKey{49, HotKey::command}));
    int changes = 0;
    QObject::connect(&manager, &HotKeyManager::answerChanged, [&] {
        ++changes;
        EXPECT_EQ(manager.help().free, free) << "with the first word of it";
    });
    backend.callbacks.foundFree(free);
    backend.callbacks.answered(HotKeyAnswer::Taken);
    runLoop();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(manager.help().freeName, u"Super+Space");
    manager.disconnect();
    manager.registerHotKey(49, HotKey::command, [] {});
    backend.callbacks.answered(HotKeyAnswer::Taken);
    runLoop();
    EXPECT_EQ(manager.help().free, std::nullopt) << "that was another one's";
}

TEST_F(HotKeyManagerTest, whatBecameOfItIsTold) {
    std::vector<std::optional<HotKeyAnswer>> told;
    QObject::connect(&manager, &HotKeyManager::answerChanged,
                     [&] { told.push_back(manager.answer()); });
    manager.registerHotKey(40, 0x100, [] {});
    backend.callbacks.answered(HotKeyAnswer::Taken);
    runLoop();
    backend.callbacks.answered(HotKeyAnswer::Taken);
    runLoop();
    manager.pause();
    manager.resume();
    backend.callbacks.answered(HotKeyAnswer::Obtained);
    runLoop();
    EXPECT_EQ(told, (std::vector<std::optional<HotKeyAnswer>>{HotKeyAnswer::Taken, std::nullopt,
                                                              HotKeyAnswer::Obtained}));
}
