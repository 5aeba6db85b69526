#include "Benchmark.h"

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

TEST(Benchmark, endsOnTheLastOfItsQueries) {
    LauncherWorld world({}, {});
    benchmarkRefresh(world.model);
    EXPECT_EQ(world.model.query(), u"docker");
}
