#include "Program/Benchmark.h"

#include "LauncherViewModel.h"

#include <QElapsedTimer>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

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
    constexpr int passes = 10;
    const QString queries =
        u"c|co|code|code editor|browser|terminal|spotlight in cursor|web in zed|"
        "safari|xcode|ai test|f|fi|fin|finder|pdf reader|notes|obsi|git|docker"_s;
    std::vector<double> samples;
    for (int pass = 0; pass < passes; ++pass) {
        for (const QString &query : queries.split(u'|')) {
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
