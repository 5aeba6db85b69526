#pragma once

#include "Platform/DesktopEntries.h"

#include <functional>

namespace corvid {

/** A desktop with the given entries. Fill the fields before use. */
class FakeDesktopEntries final : public DesktopEntries {
public:
    std::vector<DesktopEntry> entries;
    std::function<void()> whileListing; ///< runs within list(), on the thread that asks

    std::vector<DesktopEntry> list() const override {
        if (whileListing)
            whileListing();
        return entries;
    }
};

} // namespace corvid
