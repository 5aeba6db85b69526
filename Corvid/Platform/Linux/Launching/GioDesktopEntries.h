#pragma once

#include "Platform/DesktopEntries.h"
#include "Platform/Linux/Launching/FolderWatch.h"

#include <optional>

namespace corvid {

/**
 * The desktop entries as GIO reads them, from folders that we list ourselves: GIO looks them up
 * once and for all when first used, and misses those of Flatpak and Snap when the session's
 * environment does. A file is listed once, whatever names lead to it. AppImages that no entry runs
 * stand for themselves.
 */
class GioDesktopEntries final : public DesktopEntries {
public:
    std::vector<DesktopEntry> list() const override;

    /** From now on each listing watches what it reads, and onChange is called. Once, on the main
        thread and before the first listing. */
    void watch();

    /** The "applications" folders in order of precedence: the user's, Flatpak's, the system's,
        Snap's. Read from the environment afresh; they need not exist. */
    static QStringList folders();

private:
    std::optional<FolderWatch> watch_;
};

} // namespace corvid
