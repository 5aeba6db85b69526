#pragma once

#include <string>
#include <vector>

namespace corvid {

/**
 * Starts our own program anew in this very process, so that whoever looks after it sees the same
 * one: with this environment and these arguments, the limits that the process was started with,
 * and no open files but the three streams. Any thread; the others end. Returns only when the
 * program is gone.
 */
void startAnew(const std::vector<std::string> &environment, std::vector<std::string> arguments);

} // namespace corvid
