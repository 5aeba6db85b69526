// The windows of a compositor that lists them and lets nobody bring one to the front.

#include "Platform/Linux/Running/RunningApplications.h"

#include "Worlds/QtPrinters.h"
#include "Worlds/ScriptedCompositor.h"

#include <optional>

using namespace corvid;
using namespace corvid::test;

namespace {

class ListedWindowsTest : public ::testing::Test {
protected:
    ListedWindowsTest() {
        std::vector<DesktopEntry> entries(2);
        entries[0].id = u"org.example.One"_s;
        entries[0].path = u"/apps/one.desktop"_s;
        entries[1].id = u"org.example.Two"_s;
        entries[1].path = u"/apps/two.desktop"_s;
        running_.setEntries(entries);
        running_.start();
        EXPECT_TRUE(compositor_.says(u"listing"_s));
    }
    bool becomes(const QSet<QString> &ids) {
        return eventually([&] { return running_.ids() == ids; });
    }

    ScriptedCompositor compositor_{{u"--lists-windows"_s}};
    RunningApplications running_{{{}, compositor_.display().toLocal8Bit()}};
};

const QString one = u"org.example.One"_s;
const QString two = u"org.example.Two"_s;

} // namespace

TEST_F(ListedWindowsTest, windowsComeAndGo) {
    compositor_.tell(u"window a org.example.One"_s);
    EXPECT_TRUE(becomes({one}));
    compositor_.tell(u"window b org.example.Two"_s);
    compositor_.tell(u"window c org.example.Two"_s);
    EXPECT_TRUE(becomes({one, two}));
    compositor_.tell(u"gone b"_s);
    compositor_.tell(u"gone a"_s);
    EXPECT_TRUE(becomes({two}));
    compositor_.tell(u"gone c"_s);
    EXPECT_TRUE(becomes({}));
}

TEST_F(ListedWindowsTest, aWindowThatBecomesAnotherApplicationsCountsForThat) {
    compositor_.tell(u"window a org.example.One"_s);
    EXPECT_TRUE(becomes({one}));
    compositor_.tell(u"window a org.example.Two"_s);
    EXPECT_TRUE(becomes({two}));
}

TEST_F(ListedWindowsTest, noneCanBeBroughtToTheFront) {
    compositor_.tell(u"window a org.example.One"_s);
    EXPECT_TRUE(becomes({one}));
    EXPECT_FALSE(running_.activate(u"/apps/one.desktop"_s, [](bool) {}));
}

TEST_F(ListedWindowsTest, whatIsNotToldToTheEndIsNotThereYet) {
    compositor_.tell(u"unfinished org.example.One"_s);
    compositor_.tell(u"window b org.example.Two"_s);
    EXPECT_TRUE(becomes({two}));
}

TEST_F(ListedWindowsTest, oddNamesAreNobodysAndDisturbNothing) {
    compositor_.tell(u"window a"_s);
    compositor_.tell(u"window b %1"_s.arg(QString(3'000, u'x')));
    compositor_.tell(u"window c ../../org.example.One"_s);
    compositor_.tell(u"window d org.example.Two"_s);
    EXPECT_TRUE(becomes({two}));
}

TEST_F(ListedWindowsTest, aListThatIsFinishedStillTellsWhatGoes) {
    compositor_.tell(u"window a org.example.One"_s);
    EXPECT_TRUE(becomes({one}));
    compositor_.tell(u"finished"_s);
    compositor_.tell(u"gone a"_s);
    EXPECT_TRUE(becomes({}));
}

TEST_F(ListedWindowsTest, afterNonsenseNothingRuns) {
    compositor_.tell(u"window a org.example.One"_s);
    EXPECT_TRUE(becomes({one}));
    compositor_.tell(u"nonsense"_s);
    EXPECT_TRUE(becomes({}));
}

TEST_F(ListedWindowsTest, whenTheCompositorGoesNothingRuns) {
    compositor_.tell(u"window a org.example.One"_s);
    EXPECT_TRUE(becomes({one}));
    compositor_.end();
    EXPECT_TRUE(becomes({}));
}
