#pragma once

#include "Platform/Appearance.h"

namespace corvid {

/** Says what it is told to. */
class FakeAppearanceSettings final : public AppearanceSettings {
public:
    Appearance appearance;

    Appearance current() const override { return appearance; }
};

} // namespace corvid
