#pragma once

#include <QString>

namespace corvid {

class LauncherViewModel;

/** Types the twenty benchmark queries ten times over and returns the one line that tells how long
    a key stroke took the main thread: count, median, 95th and 99th percentile, maximum. */
QString benchmarkRefresh(LauncherViewModel &viewModel);

} // namespace corvid
