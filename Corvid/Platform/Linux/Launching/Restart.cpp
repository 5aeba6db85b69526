#include "Platform/Linux/Launching/Restart.h"

#include "Platform/Linux/Launching/InheritedLimits.h"

#include <csignal>
#include <filesystem>

#include <unistd.h>

#include <linux/close_range.h>

namespace corvid {

namespace {

std::vector<char *> pointers(std::vector<std::string> &strings) {
    std::vector<char *> result;
    result.reserve(strings.size() + 1);
    for (std::string &string : strings)
        result.push_back(string.data());
    result.push_back(nullptr);
    return result;
}

} // namespace

void startAnew(const std::vector<std::string> &environment, std::vector<std::string> arguments) {
    // By its name: /proc/self/exe would become the name of the process.
    std::error_code error;
    const std::string program = std::filesystem::read_symlink("/proc/self/exe", error);
    arguments.insert(arguments.begin(), program);
    std::vector<std::string> definitions = environment;
    restoreLimits();
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    execve(program.c_str(), pointers(arguments).data(), pointers(definitions).data());
}

} // namespace corvid
