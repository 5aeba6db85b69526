#include "Search/AddressRows.h"

#include "Base/Text.h"
#include "Search/TypedPlaces.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

ResultItem pathRow(const QString &path, PathKind kind, const RowSources &from) {
    const bool isFolder = kind == PathKind::Folder;
    return {u"path|"_s + path,
            from.icon(path),
            displayLine(path),
            isFolder ? u"Opens in the file manager"_s : u"Opens with its default application"_s,
            isFolder ? u"Folder"_s : u"File"_s,
            OpenPath{path}};
}

} // namespace

Rows addressRows(const Query &query, const RowSources &from) {
    if (const std::optional<QString> path = typedPath(query.text)) {
        const std::optional<PathKind> kind = from.kindOfPath(*path);
        return kind ? Rows{pathRow(*path, *kind, from)} : Rows();
    }
    if (const std::optional<QString> address = typedAddress(query.text))
        return {{u"url|"_s + *address, nullptr, displayLine(*address),
                 u"Opens in your default browser"_s, u"Link"_s, OpenURL{*address}}};
    return {};
}

} // namespace corvid
