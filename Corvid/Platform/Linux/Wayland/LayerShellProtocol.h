#pragma once

#include <wayland-client.h>

// It has an argument of this name.
#define namespace name_space
#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#undef namespace
