#include "Platform/Linux/ExitDeadline.h"

#include <gtest/gtest.h>

#include <semaphore>

using namespace corvid;
using namespace std::chrono_literals;

namespace {

[[noreturn]] void waitForEver() {
    std::binary_semaphore never(0);
    never.acquire();
    std::abort();
}

} // namespace

TEST(ExitDeadlineDeathTest, aProcessThatHangsEndsWithItsCodeWhenTheTimeIsOver) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ExitDeadline deadline;
            deadline.start(50ms, 7);
            waitForEver();
        },
        testing::ExitedWithCode(7), "");
}

TEST(ExitDeadlineDeathTest, notStartedOrLiftedInTimeItEndsNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            {
                const ExitDeadline unused;
                ExitDeadline lifted;
                lifted.start(1h, 7);
            }
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "");
}
