#include "SearchEngine.h"

#include <QStringList>

#include <algorithm>

namespace corvid::SearchEngine {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 fullLengthBonus = 30;

// Matching is written once, for any two sequences of characters. Nearly always both are simple, and
// the compiler makes a tight loop of that case.
template <typename Characters>
bool matchesAt(const Characters &query, const Characters &text, qsizetype offset) {
    for (qsizetype i = 0; i < query.size(); ++i) {
        if (query.at(i) != text.at(offset + i))
            return false;
    }
    return true;
}

template <typename Characters>
bool contains(const Characters &query, const Characters &text) {
    for (qsizetype offset = 0; offset + query.size() <= text.size(); ++offset) {
        if (matchesAt(query, text, offset))
            return true;
    }
    return false;
}

template <typename Characters>
std::optional<qint64> subsequenceScore(const Characters &query, const Characters &text) {
    const qsizetype queryCount = query.size();
    const qsizetype textCount = text.size();
    if (queryCount == 0 || textCount < queryCount)
        return std::nullopt;
    qint64 score = 0;
    qint64 run = 0;
    qsizetype lastMatch = -2;
    qsizetype matched = 0;
    for (qsizetype j = 0; j < textCount && matched < queryCount; ++j) {
        if (text.at(j) != query.at(matched))
            continue;
        run = lastMatch == j - 1 ? run + 1 : 1;
        score += 1 + 2 * run;
        lastMatch = j;
        ++matched;
    }
    if (matched < queryCount)
        return std::nullopt;
    return score + std::max<qint64>(0, fullLengthBonus - (textCount - queryCount));
}

template <typename Characters>
qint64 tieredScore(const Characters &query, const Characters &text, const Tiers &tiers) {
    if (text.size() < query.size())
        return 0;
    if (matchesAt(query, text, 0))
        return text.size() == query.size() ? tiers.equal : tiers.prefix;
    // Whatever contains the query also holds it as a subsequence, which is quicker to refute.
    const std::optional<qint64> fuzzyScore = subsequenceScore(query, text);
    if (!fuzzyScore)
        return 0;
    if (tiers.contains > 0 && contains(query, text))
        return tiers.contains;
    return tiers.fuzzy + *fuzzyScore;
}

template <typename Function>
auto withCharacters(const FoldedView &query, const FoldedView &text, Function function) {
    if (query.simple() && text.simple())
        return function(query.units, text.units);
    return function(query, text);
}

} // namespace

std::optional<qint64> fuzzy(const QString &query, const QString &target) {
    return withCharacters(FoldedText(query).view(), FoldedText(target).view(),
                          [](const auto &q, const auto &t) { return subsequenceScore(q, t); });
}

qint64 matchScore(const FoldedView &query, const FoldedView &text, const Tiers &tiers) {
    return withCharacters(
        query, text, [&tiers](const auto &q, const auto &t) { return tieredScore(q, t, tiers); });
}

qint64 usageBoost(qint64 count) {
    constexpr qint64 pointsPerLaunch = 15;
    qint64 points = 0;
    if (__builtin_mul_overflow(pointsPerLaunch, count, &points))
        qFatal("a launch count of %lld overflows the usage boost", static_cast<long long>(count));
    return std::min(points, mostUsageBoost);
}

std::optional<InQuery> parseInQuery(const QString &query) {
    const QStringList parts = query.toLower().split(u" in "_s);
    if (parts.size() != 2)
        return std::nullopt;
    InQuery result{parts[0].trimmed(), parts[1].trimmed()};
    if (result.project.isEmpty() || result.editor.isEmpty())
        return std::nullopt;
    return result;
}

} // namespace corvid::SearchEngine
