#include "Base/Deadline.h"

#include <gtest/gtest.h>

#include <semaphore>

#include <unistd.h>

using namespace corvid;
using namespace std::chrono_literals;

namespace {

[[noreturn]] void waitForEver() {
    std::binary_semaphore never(0);
    never.acquire();
    std::abort();
}

} // namespace

TEST(DeadlineDeathTest, aProcessThatHangsCanBeEndedWhenTheTimeIsOver) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const Deadline deadline(50ms, [] { _exit(7); });
            waitForEver();
        },
        testing::ExitedWithCode(7), "");
}

TEST(DeadlineDeathTest, liftedInTimeItCallsNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            {
                const Deadline lifted(1h, [] { _exit(7); });
            }
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "");
}
