#pragma once

#include <QString>

#include <vector>

namespace corvid {

class LauncherViewModel;

/** The line for these samples, in milliseconds and any order; at least one. */
QString benchmarkLine(std::vector<double> samples);

/** Types the twenty benchmark queries ten times over and returns the one line that tells how long
    a key stroke took the main thread: count, median, 95th and 99th percentile, maximum. */
QString benchmarkRefresh(LauncherViewModel &viewModel);

} // namespace corvid
