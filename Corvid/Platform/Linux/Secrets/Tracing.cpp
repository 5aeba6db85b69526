#include "Platform/Linux/Secrets/Tracing.h"

#include <sys/prctl.h>

namespace corvid {

namespace {

bool forbidden = false;
int recognizable = 0; ///< how many there are

void allow(bool allowed) {
    prctl(PR_SET_DUMPABLE, allowed ? 1 : 0);
}

} // namespace

void forbidTracing() {
    forbidden = true;
    allow(false);
}

Recognizable::Recognizable() {
    if (++recognizable == 1 && forbidden)
        allow(true);
}

Recognizable::~Recognizable() {
    if (--recognizable == 0 && forbidden)
        allow(false);
}

} // namespace corvid
