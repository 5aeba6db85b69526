#pragma once

#include "Platform/Instance.h"

#include <vector>

namespace corvid {

/** Wishes that wait to be granted. However many come, few are left: those that a later one makes
    up for are dropped. Pure. */
class PendingWishes {
public:
    void add(const Wish &wish);

    /** What is left of them, in its order; none waits then. */
    std::vector<Wish> take();

private:
    std::vector<Wish> wishes_; ///< at most one of each kind
};

} // namespace corvid
