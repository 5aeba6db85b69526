#include "Chat/IntentRow.h"

#include "Base/Locations.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

template <typename Entry>
std::optional<Entry> entryNamed(const std::vector<Entry> &entries, const QString &name) {
    const auto found = std::ranges::find(entries, name, &Entry::name);
    return found == entries.end() ? std::nullopt : std::optional(*found);
}

} // namespace

std::optional<ResultItem> intentRow(const Intent &intent, const QString &query,
                                    const RowSources &from) {
    ResultItem row;
    if (const auto app = entryNamed(from.apps, intent.app); app && intent.action == "open_app"_L1) {
        row = {u"ai-intent-app"_s,
               from.icon(app->path),
               u"Open "_s + app->name,
               u"AI understood: "_s + query,
               u"AI"_s,
               OpenApp{*app}};
    } else if (const auto project = entryNamed(from.projects, intent.project);
               project && intent.action == "open_project"_L1) {
        const auto editor = entryNamed(from.apps, intent.editor);
        row = {u"ai-intent-proj"_s,
               from.icon(locations::home()),
               u"Open "_s + project->name + u" in "_s +
                   (editor ? editor->name : u"default editor"_s),
               QString(project->path).replace(locations::home(), u"~"_s),
               u"AI"_s,
               OpenProject{*project, editor}};
    } else {
        return std::nullopt;
    }
    return row;
}

} // namespace corvid
