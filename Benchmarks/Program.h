#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/prctl.h>
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
    /** Looked for in $PATH. */
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
            prctl(PR_SET_PDEATHSIG, SIGTERM); // also where the benchmark fails
            const int null = open("/dev/null", O_WRONLY);
            dup2(null, STDOUT_FILENO);
            dup2(null, STDERR_FILENO);
            setenv("CORVID_TRACEABLE", "1", 1); // its memory is to be measured
            execvp(arguments.front(), arguments.data());
            _exit(127);
        }
    }
    ~Program() {
        kill(id_, SIGTERM);
        const Clock::time_point deadline = Clock::now() + longestWait;
        while (waitpid(id_, nullptr, WNOHANG) == 0) {
            if (Clock::now() > deadline)
                kill(id_, SIGKILL);
            std::this_thread::sleep_for(1ms);
        }
    }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    pid_t id() const { return id_; }
    Clock::time_point started() const { return started_; }

    /** MB; its share of what it has in common with others included. Absent where the rights are. */
    std::optional<double> pss() const { return memory("Pss:"); }
    /** MB; of its own, and changed. */
    std::optional<double> privateDirty() const { return memory("Private_Dirty:"); }
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
    /** Milliseconds of processor time so far, of all threads there were. */
    double cpu() const {
        clockid_t clock = 0;
        timespec time{};
        if (clock_getcpuclockid(id_, &clock) != 0 || clock_gettime(clock, &time) != 0)
            fail("the program is gone");
        return Milliseconds(std::chrono::seconds(time.tv_sec) +
                            std::chrono::nanoseconds(time.tv_nsec))
            .count();
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
    std::optional<double> memory(const std::string &name) const {
        std::ifstream file(folder() / "smaps_rollup");
        for (std::string line; std::getline(file, line);)
            if (line.rfind(name, 0) == 0)
                return std::stod(line.substr(name.size())) / 1024;
        return std::nullopt;
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
