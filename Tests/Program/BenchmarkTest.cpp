#include "Program/Benchmark.h"

#include "Fakes/LauncherWorld.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(Benchmark, yieldsOneLineOfTwoHundredSamples) {
    LauncherWorld world({makeApp(u"Zed"_s)}, {makeProject(u"web"_s)});
    const QString line = benchmarkRefresh(world.model);
    static const QRegularExpression form(
        u"^n=200 p50=\\d+\\.\\d\\dms p95=\\d+\\.\\d\\dms p99=\\d+\\.\\d\\dms max=\\d+\\.\\d\\dms$"_s);
    EXPECT_TRUE(form.match(line).hasMatch()) << qPrintable(line);
}

TEST(Benchmark, typesItsTwentyQueriesInOrderTenTimesOver) {
    const QStringList once{u"c"_s,
                           u"co"_s,
                           u"code"_s,
                           u"code editor"_s,
                           u"browser"_s,
                           u"terminal"_s,
                           u"spotlight in cursor"_s,
                           u"web in zed"_s,
                           u"safari"_s,
                           u"xcode"_s,
                           u"ai test"_s,
                           u"f"_s,
                           u"fi"_s,
                           u"fin"_s,
                           u"finder"_s,
                           u"pdf reader"_s,
                           u"notes"_s,
                           u"obsi"_s,
                           u"git"_s,
                           u"docker"_s};
    QStringList expected;
    for (int pass = 0; pass < 10; ++pass)
        expected += once;
    LauncherWorld world({}, {});
    QStringList typed;
    QObject::connect(&world.model, &LauncherViewModel::queryChanged,
                     [&] { typed.append(world.model.query()); });
    benchmarkRefresh(world.model);
    EXPECT_EQ(typed, expected);
}

TEST(Benchmark, percentilesAreSamplesOfTheSortedList) {
    std::vector<double> samples;
    for (int i = 199; i >= 0; --i)
        samples.push_back(i);
    EXPECT_EQ(benchmarkLine(samples), u"n=200 p50=100.00ms p95=190.00ms p99=198.00ms max=199.00ms");
    EXPECT_EQ(benchmarkLine({7}), u"n=1 p50=7.00ms p95=7.00ms p99=7.00ms max=7.00ms");
}
