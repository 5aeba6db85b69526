#pragma once

#include "Platform/TrayWatch.h"

#include <utility>

namespace corvid {

/** A test lets the tray appear by calling `there`, once it was asked for. */
class FakeTrayWatch final : public TrayWatch {
public:
    void await(std::function<void()> newThere) override { there = std::move(newThere); }

    std::function<void()> there;
};

} // namespace corvid
