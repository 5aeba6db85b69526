#pragma once

#include "Platform/Port.h"

#include <QString>

#include <optional>

namespace corvid {

/** What is known of the volume that a path lies on; absent where the system cannot tell. */
struct VolumeProperties {
    std::optional<bool> local;       ///< false for a network volume
    std::optional<bool> automounted; ///< true when an automounter mounts it on demand

    bool operator==(const VolumeProperties &) const = default;
};

class Volumes : public Port {
public:
    /** Any thread. Must not touch the volume itself: a dead network mount would hang the caller. */
    virtual VolumeProperties properties(const QString &path) const = 0;

    /** A number that tells the volume that an absolute path lies on from every other; 0 where the
        system cannot tell. Holds until that volume is unmounted. Otherwise as properties(). */
    virtual int volume(const QString & /*path*/) const { return 0; }
};

} // namespace corvid
