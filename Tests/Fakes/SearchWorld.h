#pragma once

#include "Fakes/FakeSessionControl.h"
#include "Fakes/FakeUserDefaults.h"
#include "RoleCatalog.h"
#include "Search/QueryRows.h"

namespace corvid::test {

/** What rows are made from: just the given entries, in the given order. */
struct SearchWorld {
    SearchWorld(std::vector<AppEntry> someApps, std::vector<ProjectEntry> someProjects)
        : apps(std::move(someApps)), projects(std::move(someProjects)) {}

    RowSources sources() {
        appIndex.updateUsage(stats);
        projectIndex.updateUsage(stats);
        return {apps,
                appIndex,
                projects,
                projectIndex,
                roles,
                stats,
                running,
                defaults,
                [](const QString &) { return nullptr; },
                session,
                [](const QString &) { return std::nullopt; }};
    }

    /** The titles of the rows that `source` has for a typed text. */
    template <typename Source>
    QStringList titles(Source source, const QString &typed) {
        QStringList found;
        for (const ResultItem &row : source(parseQuery(typed, roles), sources()))
            found.append(row.title);
        return found;
    }

    std::vector<AppEntry> apps;
    std::vector<ProjectEntry> projects;
    FakeUserDefaults defaults;
    UsageStats stats{defaults};
    RoleCatalog roles{{}};
    QSet<QString> running;
    FakeSessionControl session;
    SearchIndex appIndex{apps};
    SearchIndex projectIndex{projects};
};

inline AppEntry describedApp(const QString &name, const QByteArray &words,
                             const QStringList &aliases = {}) {
    return {name, QStringLiteral("id.") + name, QStringLiteral("/a/") + name, {}, aliases, {},
            words};
}

inline ProjectEntry projectNamed(const QString &name) {
    return {name, QStringLiteral("/p/") + name, {}};
}

} // namespace corvid::test
