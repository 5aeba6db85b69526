// Any desktop entry becomes an application: itself, with other names and roles that are each worth
// their place, and fit for the cache.
#include "Base/Text.h"
#include "Catalog/DesktopEntryMapping.h"
#include "Catalog/JsonCache.h"
#include "FuzzInput.h"

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

namespace {

const RoleCatalog &catalog() {
    static const RoleCatalog roles(*decodeTaxonomy(R"({
        "roles": {"browser": {"label": "Browser", "aliases": []}},
        "apps": {"fox": {"roles": ["browser", "browser"], "aliases": ["Fire", "FIRE", ""]}}})"));
    return roles;
}

bool hasRepeats(QStringList list) {
    return list.removeDuplicates() > 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QStringList lines = fuzz::linesOf(data, size);
    const DesktopEntry entry{lines.value(0),
                             u'/' + lines.value(0),
                             lines.value(1),
                             lines.value(2),
                             lines.value(3),
                             lines.value(4),
                             lines.value(5).split(u';', Qt::SkipEmptyParts)};
    const AppEntry app = appEntry(entry, catalog());
    require(app.name == entry.name && app.bundleID == entry.id && app.path == entry.path,
            "an entry stays itself");
    require(!hasRepeats(app.roles), "no role twice");
    QStringList words{folded(app.name)};
    for (const QString &alias : app.aliases) {
        require(!alias.isEmpty(), "no empty alias");
        words.append(folded(alias));
    }
    require(!hasRepeats(words), "no alias twice, and none that is the name");
    require(app.category.isEmpty() || app.category.startsWith("public.app-category."_L1),
            "a category of ours or none");
    if (fuzz::isWholeUnicode(lines.join(u'\n')))
        require(decodeRecords<AppEntry>(encodeRecords<AppEntry>({app})) == std::vector{app},
                "read back from the cache as found");
    return 0;
}
