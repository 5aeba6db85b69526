#pragma once

#include "Base/Text.h"

#include <QString>

#include <optional>

/**
 * How strongly a query matches a name. Pure functions, any thread. Scores are integers, higher is
 * better, 0 means no match.
 */
namespace corvid::SearchEngine {

/** The subsequence score of `query` in `target`, letter case aside; nothing when the query is
    empty or is not a subsequence. Greedy: each character is taken at its first place. A run of k
    adjacent characters gives k² + 2k, and short targets up to 30 more. */
std::optional<qint64> fuzzy(const QString &query, const QString &target);

/** The most that fuzzy() yields for a query of so many characters. */
constexpr qint64 mostFuzzy(qint64 queryCount) {
    return queryCount * queryCount + 2 * queryCount + 30;
}

struct InQuery {
    QString project;
    QString editor;
    bool operator==(const InQuery &) const = default;
};

/** Splits "<project> in <editor>", lower-cased; nothing for any other form. */
std::optional<InQuery> parseInQuery(const QString &query);

/** What each kind of match is worth; `contains` is 0 where it does not count. */
struct Tiers {
    qint64 equal;
    qint64 prefix;
    qint64 contains;
    qint64 fuzzy;
};
inline constexpr Tiers appNameTiers{1000, 800, 600, 300};
inline constexpr Tiers appAliasTiers{900, 750, 0, 350};
inline constexpr Tiers projectNameTiers{1000, 750, 550, 280};

/** The score of one folded query in one folded name, without allocation. */
qint64 matchScore(const FoldedView &query, const FoldedView &text, const Tiers &tiers);

inline constexpr qint64 mostUsageBoost = 150;
/** What `count` launches add: 15 each, 150 at most. Overflow is a fatal stop. */
qint64 usageBoost(qint64 count);

} // namespace corvid::SearchEngine
