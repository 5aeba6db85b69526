#pragma once

#include "Platform/Instance.h"

#include <utility>

namespace corvid {

/** A test speaks for the other processes. */
class FakeInstance final : public Instance {
public:
    void serve(std::function<void(const Wish &)> newFulfil) override {
        fulfil = std::move(newFulfil);
    }

    void arrive(const Wish &wish) const {
        if (fulfil)
            fulfil(wish);
    }

    std::function<void(const Wish &)> fulfil;
};

} // namespace corvid
