#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

/** What every benchmark needs that looks at a program from outside. Whatever goes wrong ends the
    benchmark. */
namespace corvid::bench {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using namespace std::chrono_literals;

inline constexpr auto longestWait = 5s;
// After the last change within this time a frame counts as complete; the caret blinks more slowly.
inline constexpr auto quiet = 60ms;

[[noreturn]] inline void fail(const char *what) {
    std::fprintf(stderr, "benchmark: %s\n", what);
    std::exit(1);
}

/** The program that is measured; ended with the object. */
class Program {
public:
    explicit Program(char *const *command, const char *more = nullptr) {
        std::vector<char *> arguments;
        for (; *command; ++command)
            arguments.push_back(*command);
        std::string option(more ? more : "");
        if (more)
            arguments.push_back(option.data());
        arguments.push_back(nullptr);
        started_ = Clock::now();
        id_ = fork();
        if (id_ == 0) {
            const int null = open("/dev/null", O_WRONLY);
            dup2(null, STDOUT_FILENO);
            dup2(null, STDERR_FILENO);
            setenv("CORVID_TRACEABLE", "1", 1); // its memory is to be measured
            execv(arguments.front(), arguments.data());
            _exit(127);
        }
    }
    ~Program() {
        kill(id_, SIGTERM);
        waitpid(id_, nullptr, 0);
    }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    pid_t id() const { return id_; }
    Clock::time_point started() const { return started_; }

    double pss() const {
        std::ifstream file(folder() / "smaps_rollup");
        for (std::string line; std::getline(file, line);)
            if (line.rfind("Pss:", 0) == 0)
                return std::stod(line.substr(4)) / 1024;
        fail("no memory figures");
    }
    long fileDescriptors() const { return entries("fd"); }
    long threads() const { return entries("task"); }

    long contextSwitches() const {
        long sum = 0;
        for (const auto &task : std::filesystem::directory_iterator(folder() / "task")) {
            std::ifstream file(task.path() / "status");
            for (std::string line; std::getline(file, line);)
                if (line.rfind("voluntary_ctxt_switches:", 0) == 0)
                    sum += std::stol(line.substr(line.find(':') + 1));
        }
        return sum;
    }
    /** Milliseconds of processor time so far, by the scheduler's nanoseconds. */
    double cpu() const {
        double sum = 0;
        for (const auto &task : std::filesystem::directory_iterator(folder() / "task")) {
            std::ifstream file(task.path() / "schedstat");
            double nanoseconds = 0;
            file >> nanoseconds;
            sum += nanoseconds / 1e6;
        }
        return sum;
    }

    /** The same of the main thread alone. */
    double mainThreadCpu() const {
        std::ifstream file(folder() / "task" / std::to_string(id_) / "schedstat");
        double nanoseconds = 0;
        file >> nanoseconds;
        return nanoseconds / 1e6;
    }

private:
    std::filesystem::path folder() const {
        return std::filesystem::path("/proc") / std::to_string(id_);
    }
    long entries(const char *name) const {
        const std::filesystem::directory_iterator all(folder() / name);
        return static_cast<long>(std::distance(begin(all), end(all)));
    }

    pid_t id_ = -1;
    Clock::time_point started_;
};

struct Summary {
    double median, p95;
};

inline Summary summary(std::vector<double> samples) {
    std::ranges::sort(samples);
    return {samples[samples.size() / 2], samples[samples.size() * 95 / 100]};
}

} // namespace corvid::bench
