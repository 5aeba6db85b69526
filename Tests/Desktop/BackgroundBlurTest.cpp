// The whole program on a compositor that blurs what lies behind windows, or does not.

#include "DesktopTest.h"
#include "Worlds/BusOfServices.h"
#include "Worlds/ScriptedCompositor.h"
#include "Worlds/SettingsPortal.h"

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::string_literals;

namespace {

class BackgroundBlurTest : public ::testing::Test {
protected:
    ~BackgroundBlurTest() override {
        program.terminate();
        if (!program.waitForFinished(30'000))
            program.kill();
        program.waitForFinished();
    }

    QProcessEnvironment environment() const {
        QProcessEnvironment result = home.environment(QProcessEnvironment::systemEnvironment());
        result.insert(u"XDG_RUNTIME_DIR"_s, compositor->runtimeFolder());
        result.insert(u"WAYLAND_DISPLAY"_s, compositor->display());
        result.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        return result;
    }
    /** On a compositor with these manners. Its panel is shown. */
    void launch(const QStringList &manners) {
        compositor.emplace(manners + QStringList{u"--output"_s});
        makeDependent(program);
        program.setProcessEnvironment(environment());
        program.start(executable, {u"--show"_s});
        EXPECT_TRUE(eventually([this] { return painted(); })) << "no panel";
    }
    void toggle() const {
        QProcess other;
        other.setProcessEnvironment(environment());
        other.start(executable, {u"--toggle"_s});
        EXPECT_TRUE(other.waitForFinished());
        EXPECT_EQ(other.exitCode(), 0);
    }
    /** Hides the panel and shows it again. */
    void showAnew() {
        toggle();
        EXPECT_TRUE(compositor->says(u"hidden"_s));
        compositor->forget();
        toggle();
        EXPECT_TRUE(eventually([this] { return painted(); }));
    }

    QStringList said(const QString &word) const {
        return compositor->lines().filter(QRegularExpression(u'^' + word));
    }
    bool painted() const { return !said(u"opacity"_s).isEmpty(); }
    int opacity() const { return said(u"opacity"_s).value(0).section(u' ', 1).toInt(); }
    /** Whether exactly the card is blurred, corners aside. */
    bool cardIsBlurred() const {
        const QStringList words = said(u"blur"_s).value(0).split(u' ');
        return said(u"blur"_s).size() == 1 && words.mid(3, 2) == QStringList{u"660"_s, u"440"_s} &&
               words.value(1).toInt() > 0 && words.value(2).toInt() > 0 &&
               words.value(6).toInt() > 2;
    }

    const Home home;
    const BusOfServices bus{{}};
    mutable std::optional<ScriptedCompositor> compositor;
    QProcess program;
};

constexpr int thin = 82 * 255 / 100 + 1;

class EitherProtocolTest : public BackgroundBlurTest,
                           public ::testing::WithParamInterface<const char *> {};

INSTANTIATE_TEST_SUITE_P(Each, EitherProtocolTest,
                         ::testing::Values("--background-effect", "--kde-blur"));

} // namespace

TEST_P(EitherProtocolTest, theCardIsBlurredAndTranslucentEachTimeItIsShown) {
    launch({QString::fromLatin1(GetParam())});
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(cardIsBlurred()) << qPrintable(compositor->lines().join(u'\n'));
        EXPECT_LE(opacity(), thin);
        showAnew();
    }
}

TEST_P(EitherProtocolTest, itIsWithdrawnWhenThePanelHides) {
    launch({QString::fromLatin1(GetParam())});
    EXPECT_TRUE(said(u"no blur"_s).isEmpty());
    toggle();
    EXPECT_TRUE(compositor->says(u"no blur"_s));
}

TEST_F(BackgroundBlurTest, howeverOftenItIsPaintedTheCardStaysAsTranslucent) {
    QProcessEnvironment onBus = QProcessEnvironment::systemEnvironment();
    onBus.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
    SettingsPortal portal(
        {u"org.freedesktop.appearance"_s, u"accent-color"_s, u"(0.9, 0.1, 0.1)"_s}, onBus);
    launch({u"--background-effect"_s, u"--keeps-pixels"_s});
    // Each one new: two that come at once must not add up to none.
    for (const char *accent : {"0.2", "0.3", "0.4", "0.5"}) {
        const qsizetype before = said(u"opacity"_s).size();
        portal.change(
            ("org.freedesktop.appearance accent-color (0.1, 0.1, "s + accent + ')').c_str());
        EXPECT_TRUE(eventually([&] { return said(u"opacity"_s).size() > before; }));
    }
    const QStringList all = said(u"opacity"_s);
    EXPECT_EQ(all.count(all.constFirst()), all.size()) << qPrintable(all.join(u'\n'));
}

TEST_F(BackgroundBlurTest, aShowingIsPaintedOnce) {
    launch({});
    showAnew();
    toggle();
    ASSERT_TRUE(compositor->says(u"hidden"_s));
    EXPECT_EQ(said(u"opacity"_s).size(), 1);
}

TEST_F(BackgroundBlurTest, withoutAnyTheCardIsMoreOpaque) {
    launch({});
    EXPECT_GT(opacity(), thin);
    EXPECT_TRUE(said(u"blur"_s).isEmpty());
}

TEST_F(BackgroundBlurTest, whereBothAreOfferedTheOneForAllIsTaken) {
    launch({u"--background-effect"_s, u"--kde-blur"_s});
    EXPECT_TRUE(cardIsBlurred()) << "once";
}

TEST_F(BackgroundBlurTest, aCompositorThatNoLongerBlursOrDoesAgainIsHeard) {
    launch({u"--background-effect"_s});
    compositor->tell(u"does-not-blur"_s);
    showAnew();
    EXPECT_GT(opacity(), thin);
    EXPECT_TRUE(said(u"blur"_s).isEmpty());
    compositor->tell(u"blurs"_s);
    showAnew();
    EXPECT_LE(opacity(), thin);
    EXPECT_TRUE(cardIsBlurred());
}

TEST_F(BackgroundBlurTest, anEffectThatIsSwitchedOffAndOnWhileThePanelIsShownIsHeard) {
    launch({u"--kde-blur"_s});
    compositor->tell(u"kde-does-not-blur"_s);
    showAnew();
    EXPECT_GT(opacity(), thin);
    EXPECT_TRUE(said(u"blur"_s).isEmpty());
    compositor->tell(u"kde-blurs"_s);
    showAnew();
    EXPECT_LE(opacity(), thin);
    EXPECT_TRUE(cardIsBlurred());
}
