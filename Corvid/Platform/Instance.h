#pragma once

#include "Platform/Port.h"

#include <functional>

namespace corvid {

/** What somebody asks of the Corvid that runs. */
struct Wish {
    enum class Kind { Show, Toggle, OpenSettings };

    Kind kind = Kind::Show;
    /** A panel that this shows stays when it loses the keyboard, until it is hidden. */
    bool sticky = false;

    bool operator==(const Wish &) const = default;
};

/** The one Corvid of a session, as seen from inside it. Main thread only. */
class Instance : public Port {
public:
    /** Calls `fulfil` on the main thread for the wishes of other processes, first for those that
        came before. Of those that wait at the same time, one that makes up for others stands for
        them. Once. Never calls it in a process that is not the session's one. */
    virtual void serve(std::function<void(const Wish &)> fulfil) = 0;
};

} // namespace corvid
