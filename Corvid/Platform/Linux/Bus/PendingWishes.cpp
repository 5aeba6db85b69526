#include "Platform/Linux/Bus/PendingWishes.h"

#include <algorithm>
#include <utility>

namespace corvid {

void PendingWishes::add(const Wish &wish) {
    const auto earlier = std::ranges::find(wishes_, wish.kind, &Wish::kind);
    Wish added = wish;
    if (earlier != wishes_.end()) {
        added.sticky = wish.sticky || earlier->sticky;
        wishes_.erase(earlier);
        // The second undoes the first.
        if (wish.kind == Wish::Kind::Toggle)
            return;
    }
    // Whether the panel was there before makes no difference to one that is shown.
    if (wish.kind == Wish::Kind::Show)
        std::erase_if(wishes_, [](const Wish &old) { return old.kind == Wish::Kind::Toggle; });
    wishes_.push_back(added);
}

std::vector<Wish> PendingWishes::take() {
    return std::exchange(wishes_, {});
}

} // namespace corvid
