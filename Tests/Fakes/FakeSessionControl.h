#pragma once

#include "Platform/SessionControl.h"

#include <set>
#include <utility>
#include <vector>

namespace corvid {

/** Records what it is asked to do and does nothing. */
class FakeSessionControl final : public SessionControl {
public:
    std::set<SessionCommand> able; ///< what can be done
    int asked = 0;                 ///< how often ask() was called
    std::vector<SessionCommand> carriedOut;

    /** As if a question had been answered. */
    void answer(const std::set<SessionCommand> &commands) {
        if (std::exchange(able, commands) != commands && onChange)
            onChange();
    }

    void ask() override { ++asked; }
    bool can(SessionCommand command) const override { return able.contains(command); }
    void carryOut(SessionCommand command) override { carriedOut.push_back(command); }
};

} // namespace corvid
