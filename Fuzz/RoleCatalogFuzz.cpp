// taxonomy.json: every role is found by its label and its other names.
#include "Base/Text.h"
#include "FuzzInput.h"
#include "RoleCatalog.h"

#include <algorithm>

using namespace corvid;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::optional<RoleCatalog::Taxonomy> taxonomy = decodeTaxonomy(fuzz::bytesOf(data, size));
    if (!taxonomy)
        return 0;
    const RoleCatalog catalog(*std::move(taxonomy));
    for (const auto &[name, role] : catalog.taxonomy.roles) {
        for (const QString &word : QStringList(role.label) + role.aliases) {
            const QStringList fuzzy = catalog.rolesFuzzy(word);
            require(fuzzy.contains(name) || folded(word).isEmpty(), "a role's words name it");
            require(std::is_sorted(fuzzy.begin(), fuzzy.end()), "roles come in their order");
            const std::optional<QString> exact = catalog.roleMatching(word);
            require(!exact || *exact <= name || !fuzzy.contains(*exact) || word != word.trimmed(),
                    "of several roles the first by name");
            require(exact || word != word.trimmed() || word.isEmpty(), "a whole word is enough");
        }
    }
    return 0;
}
