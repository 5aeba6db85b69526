#include "Program/CatalogRefresh.h"

#include "AppCatalog.h"
#include "ProjectIndex.h"

namespace corvid {

using namespace std::chrono_literals;

CatalogRefresh::CatalogRefresh(DesktopEntries &entries, AppCatalog &apps, ProjectIndex &projects,
                               std::function<BootClock::time_point()> now)
    : entries_(entries), apps_(apps), projects_(projects), now_(std::move(now)),
      appsScanned_(now_()), projectsScanned_(appsScanned_) {
    entries_.onChange = [this] {
        appsAreStale_ = true;
        refreshStaleApps();
    };
    // What changed during a scan may lie where it had been already.
    connect(&apps_, &AppCatalog::scanEnded, this, &CatalogRefresh::refreshStaleApps);
}

CatalogRefresh::~CatalogRefresh() {
    entries_.onChange = nullptr;
}

void CatalogRefresh::panelShown() {
    isShown_ = true;
    appsAreStale_ = appsAreStale_ || isOld(appsScanned_);
    refreshStaleApps();
    if (isOld(projectsScanned_) && projects_.refresh())
        projectsScanned_ = now_();
}

bool CatalogRefresh::isOld(BootClock::time_point scan) const {
    return now_() - scan > 30s;
}

void CatalogRefresh::refreshStaleApps() {
    if (!isShown_ || !appsAreStale_ || !apps_.refresh())
        return;
    appsAreStale_ = false;
    appsScanned_ = now_();
}

} // namespace corvid
