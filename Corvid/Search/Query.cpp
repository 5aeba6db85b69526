#include "Search/Query.h"

#include "RoleCatalog.h"
#include "Search/Calculator.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

Query parseQuery(const QString &typed, const RoleCatalog &roles) {
    using Kind = Query::Kind;
    constexpr qsizetype askPrefixLength = 3; // "ai "
    const QString text = typed.trimmed();
    const QString lower = text.toLower();
    if (text.isEmpty())
        return {};
    if (lower == "ai"_L1 || lower.startsWith("ai "_L1))
        return {Kind::Ask, text, text.sliced(std::min(askPrefixLength, text.size())), {}};
    if (lower == "last project"_L1 || lower == "open last project"_L1)
        return {Kind::LastProject, text, {}, {}};
    if (const auto in = SearchEngine::parseInQuery(text))
        return {Kind::In, text, {}, *in};
    if (const auto value = evalMath(text))
        return {Kind::Calculation, text, *value, {}};
    if (const auto role = roles.roleMatching(text))
        return {Kind::Role, text, *role, {}};
    return {Kind::Search, text, {}, {}};
}

} // namespace corvid
