#pragma once

#include "Base/Records.h"
#include "Base/Text.h"
#include "SearchEngine.h"
#include "UsageStats.h"

#include <QHash>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace corvid {

/** A query folded once for one refresh. */
struct PreparedQuery {
    explicit PreparedQuery(const QString &query)
        : text(query.trimmed()), mask(SearchEngine::characterMask(text.units())) {}

    FoldedText text;
    std::uint64_t mask;
};

/** Many folded names in a few contiguous arrays, so that ranking them touches little memory. */
class NameTable {
public:
    void append(const QString &name);
    std::size_t size() const { return masks_.size(); }

    /** The score of the query in name `index`; no allocation. */
    qint64 score(const PreparedQuery &query, std::size_t index,
                 const SearchEngine::Tiers &tiers) const {
        if ((query.mask & ~masks_[index]) != 0)
            return 0;
        return SearchEngine::matchScore(query.text.view(), at(index), tiers);
    }

private:
    FoldedView at(std::size_t index) const;

    std::vector<std::uint64_t> masks_;
    std::vector<QChar> units_;
    std::vector<std::uint32_t> unitStarts_{0}; ///< one more than there are names
    std::vector<std::uint32_t> bounds_;
    std::vector<std::uint32_t> boundStarts_{0}; ///< likewise; equal neighbours: a simple name
};

/** The names of a list of applications or of projects, prepared once for ranking them, and the
    launches of each. */
class SearchIndex {
public:
    SearchIndex() = default;
    explicit SearchIndex(const std::vector<AppEntry> &apps);
    explicit SearchIndex(const std::vector<ProjectEntry> &projects);

    /** Takes over the launch counts; cheap when the tables have not changed since. */
    void updateUsage(const UsageStats &stats);
    /** Of the entry at `index`: by its name or one of its aliases, and the usage boost. Roles and
        identifiers are not matched. No allocation. */
    qint64 score(const PreparedQuery &query, std::size_t index) const;
    qint64 launches(std::size_t index) const { return launches_[index]; }
    /** The entry's usage key. */
    const QString &key(std::size_t index) const { return keys_[index]; }
    /** The entry with this usage key. */
    std::optional<std::size_t> indexOf(const QString &key) const;
    /** The indexes of the applications that fill a role, ascending. */
    const std::vector<std::size_t> &withRole(const QString &role) const;
    std::size_t size() const { return names_.size(); }

private:
    void append(const QString &name, const QStringList &aliases, const QString &key);

    SearchEngine::Tiers nameTiers_{};
    NameTable names_;
    NameTable aliases_;
    std::vector<std::uint32_t> aliasStarts_{0};
    QHash<QString, std::vector<std::size_t>> roles_;
    std::vector<QString> keys_;
    QMultiHash<QString, std::size_t> indexes_; ///< a hand-edited cache may repeat a key
    std::vector<qint64> launches_;
    std::vector<std::size_t> launched_; ///< the indexes of those that are not 0
    std::optional<quint64> generation_; ///< of the usage tables
};

/** The first `capacity` elements of a stable sort by descending score, without sorting the rest.
    Offer the candidates in their natural order. */
template <typename Item>
class BestMatches {
public:
    explicit BestMatches(std::size_t capacity) : capacity_(capacity) { best_.reserve(capacity); }

    void offer(qint64 score, const Item &item) {
        if (best_.size() == capacity_) {
            if (score <= best_.back().score)
                return;
            best_.pop_back();
        }
        const auto place =
            std::upper_bound(best_.begin(), best_.end(), score,
                             [](qint64 value, const auto &other) { return value > other.score; });
        best_.insert(place, {item, score});
    }

    const std::vector<Scored<Item>> &sorted() const { return best_; }

private:
    std::size_t capacity_;
    std::vector<Scored<Item>> best_;
};

} // namespace corvid
