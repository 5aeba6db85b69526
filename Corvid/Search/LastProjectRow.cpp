#include "Search/LastProjectRow.h"

#include "Base/Locations.h"
#include "Base/Settings.h"

#include <QUrl>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

Rows lastProjectRows(const Query &query, const RowSources &from) {
    if (query.kind != Query::Kind::LastProject)
        return {};
    const std::optional<settings::LastProject> last = settings::lastProject(from.defaults);
    if (!last)
        return {};
    const QUrl folder = QUrl::fromLocalFile(last->project).adjusted(QUrl::StripTrailingSlash);
    const auto editor = std::ranges::find(from.apps, last->editor, &AppEntry::path);
    return {{u"last-project"_s, from.icon(locations::home()),
             u"Open "_s + folder.fileName() + u" in "_s +
                 (editor == from.apps.end() ? u"default editor"_s : editor->name),
             withHomeAsTilde(last->project), u"Last Project"_s, OpenLastProject{}}};
}

} // namespace corvid
