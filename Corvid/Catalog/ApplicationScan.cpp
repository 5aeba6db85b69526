#include "Catalog/ApplicationScan.h"

#include "Base/FolderNames.h"
#include "Base/NameOrder.h"
#include "Base/Text.h"
#include "Catalog/DesktopEntryMapping.h"
#include "Catalog/PropertyList.h"

#include <QSet>

#include <map>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto bundleSuffix = ".app"_L1;

std::optional<AppEntry> readBundle(const QString &folder, const QString &fileName,
                                   const RoleCatalog &catalog) {
    const QString path = folder + u'/' + fileName;
    const auto info = bundleProperties(path);
    if (!info.contains(u"CFBundleIdentifier"_s))
        return std::nullopt;
    AppEntry app;
    app.bundleID = nameFrom(info.value(u"CFBundleIdentifier"_s));
    app.path = path;
    app.name =
        nameFrom(info.value(u"CFBundleDisplayName"_s,
                            info.value(u"CFBundleName"_s, fileName.chopped(bundleSuffix.size()))));
    app.category = nameFrom(info.value(u"LSApplicationCategoryType"_s, u""_s));
    const RoleCatalog::AppMeta known = catalog.taxonomy.apps.value(app.bundleID);
    app.roles = known.roles + catalog.categoryMap.value(app.category);
    app.aliases = known.aliases;
    return app;
}

} // namespace

QStringList bundleFolders(const QString &home) {
    return {u"/Applications"_s, u"/System/Applications"_s, u"/System/Applications/Utilities"_s,
            u"/System/Library/CoreServices/Applications"_s, home + "/Applications"_L1};
}

std::vector<AppEntry> scanAll(const QStringList &bundleFolders,
                              const std::vector<DesktopEntry> &desktopEntries,
                              const RoleCatalog &roles, const std::stop_token &stop) {
    // Ordered by identifier, so that equal names come out in the same order every time.
    std::map<QString, AppEntry> found;
    QSet<QString> paths;
    // The last ones first: those before them give way.
    const auto add = [&](AppEntry app) {
        if (paths.contains(app.path) || found.contains(app.bundleID))
            return;
        paths.insert(app.path);
        found.emplace(app.bundleID, std::move(app));
    };
    for (std::size_t i = desktopEntries.size(); i-- > 0;) {
        if (stop.stop_requested())
            break;
        add(appEntry(desktopEntries[i], roles));
    }
    for (qsizetype i = bundleFolders.size(); i-- > 0;) {
        const QString &folder = bundleFolders[i];
        const QStringList names = namesInFolder(folder);
        for (qsizetype last = names.size(); last-- > 0;) {
            const QString &name = names[last];
            if (stop.stop_requested())
                break;
            if (!name.endsWith(bundleSuffix))
                continue;
            if (std::optional<AppEntry> app = readBundle(folder, name, roles))
                add(*std::move(app));
        }
    }
    std::vector<AppEntry> apps;
    apps.reserve(found.size());
    for (auto &[identifier, app] : found)
        apps.push_back(std::move(app));
    sortByName(apps);
    return apps;
}

} // namespace corvid
