#pragma once

#include "SearchEngine.h"

namespace corvid {

class RoleCatalog;

/** What a typed text asks for, decided once for the list and for Return. */
struct Query {
    enum class Kind {
        Empty,
        Ask,         ///< "ai", or "ai " and a question
        LastProject, ///< "last project" or "open last project"; lists what a search finds
        In,          ///< "<project> in <editor>"
        Calculation,
        Role, ///< the name of a role
        Search,
    };

    Kind kind = Kind::Empty;
    QString text; ///< what was typed, without surrounding blanks
    /** Of Ask: the question, with the blanks in front of it; empty for "ai" alone. Of Calculation:
        the value. Of Role: its name in the catalog. */
    QString object;
    SearchEngine::InQuery in; ///< of In
};

/** Pure. The kinds are tried in their order; what is none of the others is a search. */
Query parseQuery(const QString &typed, const RoleCatalog &roles);

} // namespace corvid
