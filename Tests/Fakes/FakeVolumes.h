#pragma once

#include "Platform/Volumes.h"

#include <QHash>

namespace corvid {

/** Says of each path what the test has set; of any other path that nothing is known. Fill it
    before a scan starts. */
class FakeVolumes final : public Volumes {
public:
    QHash<QString, VolumeProperties> known;

    VolumeProperties properties(const QString &path) const override { return known.value(path); }
};

} // namespace corvid
