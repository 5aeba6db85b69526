#pragma once

namespace corvid {

/** The deleter of a std::unique_ptr whose object a function of a C library releases. */
template <auto release>
struct ReleasedBy {
    void operator()(auto *object) const { release(object); }
};

} // namespace corvid
