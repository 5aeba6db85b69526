#pragma once

#include <wayland-client.h>

// It has an argument of this name.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define namespace name_space
#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#undef namespace
#ifdef __clang__
#pragma clang diagnostic pop
#endif
