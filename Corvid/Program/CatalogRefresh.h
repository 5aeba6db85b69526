#pragma once

#include "Base/BootClock.h"

#include <QObject>

#include <functional>

namespace corvid {

class AppCatalog;
class DesktopEntries;
class ProjectIndex;

/**
 * Keeps the lists true after the scan at the start: what was installed, cloned, renamed or removed
 * is there, or gone, at the next showing. Both are scanned again when the panel is shown and the
 * scan before began more than 30 s ago; the applications also when the desktop reports a change.
 * While the panel is hidden nothing is scanned: a change is remembered for the next showing. A list
 * that is being scanned is not scanned a second time beside that. Main thread only.
 */
class CatalogRefresh final : public QObject {
public:
    /** References outlive this; it takes the entries' onChange. The lists count as scanned now. */
    CatalogRefresh(DesktopEntries &entries, AppCatalog &apps, ProjectIndex &projects,
                   std::function<BootClock::time_point()> now);
    ~CatalogRefresh() override;

    void panelShown();
    void panelHidden() { isShown_ = false; }

private:
    bool isOld(BootClock::time_point scan) const;
    void refreshStaleApps();

    DesktopEntries &entries_;
    AppCatalog &apps_;
    ProjectIndex &projects_;
    const std::function<BootClock::time_point()> now_;
    bool isShown_ = false;
    bool appsAreStale_ = false; ///< they changed, or may have, since the last scan began
    BootClock::time_point appsScanned_;
    BootClock::time_point projectsScanned_;
};

} // namespace corvid
