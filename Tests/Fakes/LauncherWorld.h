#pragma once

#include "AIService.h"
#include "AppCatalog.h"
#include "Base/Locations.h"
#include "Catalog/JsonCache.h"
#include "Fakes/FakeDesktopEntries.h"
#include "Fakes/FakePasteboard.h"
#include "Fakes/FakeSecretStore.h"
#include "Fakes/FakeSessionControl.h"
#include "Fakes/FakeUserDefaults.h"
#include "Fakes/FakeVolumes.h"
#include "Fakes/FakeWorkspace.h"
#include "KeychainHelper.h"
#include "LauncherViewModel.h"
#include "ProjectIndex.h"
#include "RoleCatalog.h"

#include <QJsonObject>
#include <QTemporaryDir>

#include <vector>

namespace corvid {

inline AppEntry makeApp(const QString &name, const QStringList &roles = {},
                        const QStringList &aliases = {}) {
    return {name,
            QStringLiteral("id.") + name,
            QStringLiteral("/Applications/") + name + QStringLiteral(".app"),
            roles,
            aliases,
            {}};
}

inline ProjectEntry makeProject(const QString &name, const QStringList &stack = {}) {
    return {name, locations::home() + QStringLiteral("/Code/") + name, stack};
}

/** A view model over catalogs with just the given entries, in the given order, on a faked
    desktop. The catalogs take them from their caches; the scans that load() also starts hand
    their result over through the event loop, which no test here lets run that far. */
class LauncherWorld {
public:
    LauncherWorld(const std::vector<AppEntry> &apps, const std::vector<ProjectEntry> &projectList,
                  const RoleCatalog::Taxonomy &taxonomy = {})
        : roles(taxonomy), catalog(workspace, desktopEntries, roles), projects(defaults, volumes),
          model({defaults, stats, roles, workspace, pasteboard, keychain, ai, session, volumes}) {
        // Caches of its own: the scans of an earlier world may still be writing theirs.
        qputenv("XDG_DATA_HOME", folder.path().toLocal8Bit());
        writeCache(locations::cacheFile(QStringLiteral("catalog.json")), apps);
        writeCache(locations::cacheFile(QStringLiteral("projects.json")), projectList);
        catalog.load();
        projects.load();
        model.catalog = &catalog;
        model.projects = &projects;
        model.onAction = [this](const LauncherAction &action) { actions.push_back(action); };
        model.onHide = [this] { ++hides; };
        model.refresh();
    }

    void setLaunches(const QString &key, qint64 count) {
        defaults.update(QStringLiteral("launchCounts"), [&](const QJsonValue &table) -> QJsonValue {
            QJsonObject counts = table.toObject();
            counts.insert(key, count);
            return counts;
        });
    }
    void setLatch(const QString &query, const QString &key) {
        defaults.set(QStringLiteral("queryLatches"), QJsonObject{{query, key}});
    }
    /** The titles that a query yields. */
    QStringList titles(const QString &query) {
        model.setQuery(query);
        QStringList result;
        for (const ResultItem &row : model.results())
            result.append(row.title);
        return result;
    }

    QTemporaryDir folder;
    FakeUserDefaults defaults;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeSecretStore secrets;
    FakeSessionControl session;
    KeychainHelper keychain{secrets};
    FakeDesktopEntries desktopEntries;
    FakeVolumes volumes;
    UsageStats stats{defaults};
    RoleCatalog roles;
    AppCatalog catalog;
    ProjectIndex projects;
    AIService ai{defaults, &secrets};
    LauncherViewModel model;
    std::vector<LauncherAction> actions;
    int hides = 0;
};

} // namespace corvid
