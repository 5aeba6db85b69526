#pragma once

#include <QtGlobal>

namespace corvid {

/** Keeps other processes, those of the same user included, from reading our memory and from tracing
    us; those of the administrator can. Call it once, at start; what we start is free of it. */
void forbidTracing();

/**
 * While there is one, others may look at us all the same. Desktop portals recognize who calls them
 * by a part of /proc/<pid> that is closed together with the memory. Main thread only.
 */
class Recognizable {
public:
    Recognizable();
    ~Recognizable();
    Q_DISABLE_COPY_MOVE(Recognizable)
};

} // namespace corvid
