#pragma once

namespace corvid {

/** What the interfaces to the desktop are derived from: used by reference, never copied. */
class Port {
public:
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;
    virtual ~Port() = default;

protected:
    Port() = default;
};

} // namespace corvid
