#pragma once

namespace corvid {

/** What the desktop session offers to a window of ours. Main thread only. */
class Desktop {
public:
    Desktop() = default;
    Desktop(const Desktop &) = delete;
    Desktop &operator=(const Desktop &) = delete;
    virtual ~Desktop() = default;

    /** Whether translucent windows show what is behind them. May change at any time. */
    virtual bool hasCompositor() const = 0;
};

} // namespace corvid
