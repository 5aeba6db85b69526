#include "Program/Benchmark.h"

#include "LauncherViewModel.h"

#include <QElapsedTimer>

#include <algorithm>
#include <array>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int passes = 10;
constexpr std::array queries = {
    u"c",
    u"co",
    u"code",
    u"code editor",
    u"browser",
    u"terminal",
    u"spotlight in cursor",
    u"web in zed",
    u"safari",
    u"xcode",
    u"ai test",
    u"f",
    u"fi",
    u"fin",
    u"finder",
    u"pdf reader",
    u"notes",
    u"obsi",
    u"git",
    u"docker",
};

} // namespace

QString benchmarkLine(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const auto at = [&samples](double share) {
        return samples[static_cast<std::size_t>(static_cast<double>(samples.size()) * share)];
    };
    return QString::asprintf("n=%d p50=%.2fms p95=%.2fms p99=%.2fms max=%.2fms",
                             static_cast<int>(samples.size()), at(0.5), at(0.95), at(0.99),
                             samples.back());
}

QString benchmarkRefresh(LauncherViewModel &viewModel) {
    std::vector<double> samples;
    for (int pass = 0; pass < passes; ++pass) {
        for (const char16_t *text : queries) {
            const QString query = QString::fromUtf16(text);
            QElapsedTimer timer;
            timer.start();
            viewModel.setQuery(query);
            viewModel.refresh();
            samples.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        }
    }
    return benchmarkLine(std::move(samples));
}

} // namespace corvid
