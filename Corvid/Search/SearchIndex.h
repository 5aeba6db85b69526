#pragma once

#include "Base/Records.h"
#include "Base/Text.h"
#include "SearchEngine.h"

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

/** The launches of each item of a list, by index. */
class UsageCounts {
public:
    UsageCounts() = default;
    template <typename Record>
    explicit UsageCounts(const std::vector<Record> &records) : counts_(records.size(), 0) {
        indexes_.reserve(static_cast<qsizetype>(records.size()));
        keys_.reserve(records.size());
        for (std::size_t i = 0; i < records.size(); ++i) {
            keys_.push_back(usageKey(records[i]));
            indexes_.insert(keys_.back(), i);
        }
    }

    /** Takes over the launch counts; cheap when the tables have not changed since. */
    void update(const UsageStats &stats);
    qint64 at(std::size_t index) const { return counts_[index]; }
    const QString &key(std::size_t index) const { return keys_[index]; }
    /** The item with this usage key. */
    std::optional<std::size_t> indexOf(const QString &key) const;

private:
    QMultiHash<QString, std::size_t> indexes_; ///< a hand-edited cache may repeat a key
    std::vector<QString> keys_;
    std::vector<qint64> counts_;
    std::vector<std::size_t> launched_; ///< the indexes whose count is not 0
    std::optional<quint64> generation_;
};

/** The applications' names and aliases, prepared once for the list they stand in. */
class AppSearchIndex {
public:
    AppSearchIndex() = default;
    explicit AppSearchIndex(const std::vector<AppEntry> &apps);

    void updateUsage(const UsageStats &stats) { launches_.update(stats); }
    /** As SearchEngine::score of the application at `index`. */
    qint64 score(const PreparedQuery &query, std::size_t index) const;
    qint64 launches(std::size_t index) const { return launches_.at(index); }
    /** The application's usage key. */
    const QString &key(std::size_t index) const { return launches_.key(index); }
    /** The application with this usage key. */
    std::optional<std::size_t> indexOf(const QString &key) const { return launches_.indexOf(key); }
    /** The indexes of the applications that fill a role, ascending. */
    const std::vector<std::size_t> &withRole(const QString &role) const;
    std::size_t size() const { return names_.size(); }

private:
    NameTable names_;
    NameTable aliases_;
    std::vector<std::uint32_t> aliasStarts_{0};
    QHash<QString, std::vector<std::size_t>> roles_;
    UsageCounts launches_;
};

/** The projects' names, prepared once for the list they stand in. */
class ProjectSearchIndex {
public:
    ProjectSearchIndex() = default;
    explicit ProjectSearchIndex(const std::vector<ProjectEntry> &projects);

    void updateUsage(const UsageStats &stats) { launches_.update(stats); }
    /** As SearchEngine::score of the project at `index`. */
    qint64 score(const PreparedQuery &query, std::size_t index) const;
    std::size_t size() const { return names_.size(); }

private:
    NameTable names_;
    UsageCounts launches_;
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
