#include "Search/ActionRows.h"

#include <algorithm>
#include <tuple>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

Rows actionRows(const Query &query, const RowSources &from) {
    struct Named {
        ActionIndex::Place place;
        QString id;
        std::tuple<bool, qint64, qint64> rank;
    };
    std::vector<Named> all;
    const QString latched = from.stats.latches().value(query.text.toLower());
    for (const ActionIndex::Place &place : from.appIndex.actions().named(query.text)) {
        const QString &action = from.apps[place.app].actions[place.action].id;
        QString id = from.appIndex.key(place.app) + "|action|"_L1 + action;
        const std::tuple rank(id == latched, from.stats.counts().value(id),
                              from.appIndex.launches(place.app));
        all.push_back({place, std::move(id), rank});
    }
    std::ranges::stable_sort(all, std::ranges::greater(), &Named::rank);
    Rows rows;
    for (std::size_t i = 0; i < std::min(all.size(), mostSearchRows); ++i) {
        const AppEntry &app = from.apps[all[i].place.app];
        const DesktopAction &action = app.actions[all[i].place.action];
        rows.push_back({all[i].id, from.icon(app.path), action.name, app.name, u"Action"_s,
                        RunAction{app.path, action.id}});
    }
    return rows;
}

} // namespace corvid
