#include "Front/Inheritance.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace corvid {

namespace {

constexpr rlim_t usualFiles = 1024;
// The program has 26 files open when it is busy; a launch and an answer add a few.
constexpr std::size_t neededFiles = 64;

/** How many more files can be opened, as far as that matters. */
std::size_t spareFiles() {
    std::array<int, neededFiles> files{};
    std::size_t count = 0;
    const int any = open("/", O_PATH | O_CLOEXEC);
    if (any < 0)
        return 0;
    files[count++] = any;
    while (count < files.size() && (files[count] = fcntl(any, F_DUPFD_CLOEXEC, 0)) >= 0)
        ++count;
    std::for_each_n(files.begin(), count, close);
    return count;
}

} // namespace

Inheritance takeInheritance() {
    Inheritance result;
    for (char **definition = environ; definition && *definition; ++definition)
        result.environment.emplace_back(*definition);
    getrlimit(RLIMIT_NOFILE, &result.openFiles);
    return result;
}

std::string variable(const std::vector<std::string> &environment, std::string_view name) {
    for (const std::string &definition : environment) {
        if (definition.size() > name.size() && definition.starts_with(name) &&
            definition[name.size()] == '=')
            return definition.substr(name.size() + 1);
    }
    return {};
}

bool makeRoomForFiles() {
    if (spareFiles() == neededFiles)
        return true;
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = std::min(limit.rlim_max, std::max(limit.rlim_cur, usualFiles));
    setrlimit(RLIMIT_NOFILE, &limit);
    const std::size_t spare = spareFiles();
    if (spare == neededFiles)
        return true;
    std::fprintf(stderr,
                 "corvid: needs to open %zu files at once, but only %zu more are allowed; "
                 "see 'ulimit -n', which is %llu.\n",
                 neededFiles, spare, static_cast<unsigned long long>(before));
    return false;
}

} // namespace corvid
