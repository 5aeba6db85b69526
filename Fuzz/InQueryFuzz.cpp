// "<project> in <editor>": the two parts are neither empty nor padded, and together they are such a
// query again.
#include "FuzzInput.h"
#include "SearchEngine.h"

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QString query = fuzz::linesOf(data, size).join(u'\n');
    const auto parts = SearchEngine::parseInQuery(query);
    const QString lower = query.toLower();
    if (!parts) {
        const QStringList pieces = lower.split(u" in "_s);
        require(pieces.size() != 2 || pieces[0].trimmed().isEmpty() ||
                    pieces[1].trimmed().isEmpty(),
                "two parts are such a query");
        return 0;
    }
    for (const QString &part : {parts->project, parts->editor})
        require(!part.isEmpty() && part == part.trimmed() && lower.contains(part),
                "a part is a piece of the query");
    // Trimmed, a part can come to lie against the word between them: "a in\t in b".
    if (!parts->project.endsWith(" in"_L1) && !parts->editor.startsWith("in "_L1))
        require(SearchEngine::parseInQuery(parts->project + " IN "_L1 + parts->editor) == parts,
                "put together they are such a query");
    return 0;
}
