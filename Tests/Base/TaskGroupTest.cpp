#include "Base/TaskGroup.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <optional>

using namespace corvid;

namespace {

class TaskGroupTest : public ::testing::Test {
protected:
    std::future<void> start(TaskPriority priority) {
        auto begun = std::make_shared<std::promise<void>>();
        std::future<void> result = begun->get_future();
        group_->start(
            [begun, this](const std::stop_token &) {
                wasHeld_ = hold_.has_value();
                begun->set_value();
            },
            priority);
        return result;
    }

    std::optional<UtilityHold> hold_;
    std::atomic<bool> wasHeld_ = false;
    std::optional<TaskGroup> group_{std::in_place};
};

} // namespace

TEST_F(TaskGroupTest, aUtilityTaskBeginsOnceTheHoldHasEnded) {
    hold_.emplace();
    std::future<void> utility = start(TaskPriority::Utility);
    start(TaskPriority::Normal).wait();
    EXPECT_TRUE(wasHeld_) << "the other does not wait";
    hold_.reset();
    utility.wait();
    EXPECT_FALSE(wasHeld_);
}

TEST_F(TaskGroupTest, withoutAHoldAUtilityTaskBeginsAtOnce) {
    start(TaskPriority::Utility).wait();
}

TEST_F(TaskGroupTest, aGroupWithATaskThatIsHeldCanEnd) {
    hold_.emplace();
    const std::future<void> utility = start(TaskPriority::Utility);
    group_.reset();
    utility.wait();
}
