#pragma once

#include "Worlds/EventLoop.h"

namespace corvid::test {

/** Acts until the condition holds, with a longer pause after each time: what is done too early does
    nothing, and what is done again too soon may undo what the first time leads to. */
inline bool eventuallyAfter(const std::function<void()> &act,
                            const std::function<bool()> &condition) {
    int pauseMs = 250;
    return eventually([&] {
        act();
        return eventually(condition, pauseMs *= 2);
    });
}

} // namespace corvid::test
