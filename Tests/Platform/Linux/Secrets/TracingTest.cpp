#include "Platform/Linux/Secrets/Tracing.h"

#include "Worlds/Onlooker.h"

#include <gtest/gtest.h>

#include <optional>

#include <sys/prctl.h>

using namespace corvid;
using namespace corvid::test;

namespace {

class TracingTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "it takes an administrator to be somebody else";
    }

    /** What is seen of a process of somebody's that has made such preparations. */
    static Onlooker seenAfter(void (*prepare)()) {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        const pid_t process = fork();
        if (process == 0) {
            // As after a usual start.
            if (setresgid(somebody, somebody, somebody) != 0 ||
                setresuid(somebody, somebody, somebody) != 0 || prctl(PR_SET_DUMPABLE, 1) != 0)
                _exit(1);
            prepare();
            if (write(ready[1], "", 1) != 1)
                _exit(1);
            while (true)
                pause();
        }
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        const Onlooker seen = lookAt(process);
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        close(ready[0]);
        close(ready[1]);
        return seen;
    }
};

} // namespace

TEST_F(TracingTest, noOtherProcessReadsOrTracesUsOnceItIsForbidden) {
    const Onlooker before = seenAfter([] {});
    if (!before.reads || !before.traces)
        GTEST_SKIP() << "nobody may trace anybody here";
    const Onlooker after = seenAfter(forbidTracing);
    EXPECT_FALSE(after.reads);
    EXPECT_FALSE(after.traces);
    EXPECT_FALSE(after.recognizes);
}

TEST_F(TracingTest, aPortalRecognizesUsWhileItIsAsked) {
    EXPECT_TRUE(seenAfter([] {
                    forbidTracing();
                    static std::optional<Recognizable> first(std::in_place);
                    static const Recognizable second;
                    first.reset();
                }).recognizes);
    EXPECT_FALSE(seenAfter([] {
                     forbidTracing();
                     const Recognizable over;
                 }).recognizes);
}
