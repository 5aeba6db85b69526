#pragma once

#include "Base/Records.h"
#include "Base/Text.h"
#include "Search/ActionIndex.h"
#include "SearchEngine.h"
#include "UsageStats.h"

#include <QHash>

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace corvid {

/** A query folded once for one refresh. */
struct PreparedQuery {
    explicit PreparedQuery(const QString &query);

    /** Whether a text that does not begin with it cannot reach a score. An empty one begins every
        text. */
    bool needsBeginning(const SearchEngine::Tiers &tiers, qint64 score) const {
        return mask != 0 && score > tiers.contains && score > tiers.fuzzy + mostFuzzy;
    }

    FoldedText text;
    /** As unitMask() tells. Only a name whose mask holds all bits of the query's can match, which
        settles most candidates with one operation. */
    std::uint64_t mask;
    qint64 mostFuzzy; ///< the most that SearchEngine::fuzzy() yields for it
};

/** Many folded names in a few contiguous arrays, so that ranking them touches little memory. */
class NameTable {
public:
    void append(const QString &name);
    std::size_t size() const { return masks_.size(); }
    FoldedView at(std::size_t index) const;
    /** Of the name and of what it is without accents, as unitMask() tells. */
    std::uint64_t mask(std::size_t index) const { return masks_[index]; }

    /** Those of all names. */
    std::span<const std::uint64_t> masks() const { return masks_; }

    /** The score of the query in name `index`; no allocation. May be 0 where it is less than
        `atLeast`. */
    qint64 score(const PreparedQuery &query, std::size_t index, const SearchEngine::Tiers &tiers,
                 qint64 atLeast) const {
        if ((query.mask & ~masks_[index]) != 0)
            return 0;
        if (query.needsBeginning(tiers, atLeast) &&
            units_[unitStarts_[index]] != query.text.units().front())
            return 0;
        return SearchEngine::matchScore(query.text.view(), at(index), tiers);
    }

private:
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
    explicit SearchIndex(const std::vector<AppEntry> &apps);
    explicit SearchIndex(const std::vector<ProjectEntry> &projects);

    std::size_t size() const { return paths_.size(); }
    /** Takes over the launch counts; cheap when the tables have not changed since. */
    void updateUsage(const UsageStats &stats);
    /** Of the entry at `index`: by its name or one of its aliases, and the usage boost. Roles and
        identifiers are not matched. One below `atLeast` may be told as any lower one: it is for
        those who look for the best. No allocation. */
    qint64 score(const PreparedQuery &query, std::size_t index, qint64 atLeast = 1) const;
    /** Calls `function` with the index of each entry that the query may match, in their order. Most
        of the others cost a handful of instructions. */
    template <typename Function>
    void forEachCandidate(const PreparedQuery &query, Function function) const;
    qint64 launches(std::size_t index) const { return launches_[index]; }
    /** The names of the entry at `index`, folded: its own, and the aliases [first, end) of
        aliases(). */
    const NameTable &names() const { return names_; }
    const NameTable &aliases() const { return aliases_; }
    std::size_t firstAlias(std::size_t index) const { return aliasStarts_[index]; }
    std::size_t endOfAliases(std::size_t index) const { return aliasStarts_[index + 1]; }
    /** Of all words that an entry is found by, as words::maskOf() tells, for each entry. */
    std::span<const std::uint64_t> wordMasks() const { return wordMasks_; }
    /** Of the applications; of projects there are none. */
    const ActionIndex &actions() const { return actions_; }
    /** The entry's usage key. */
    QString key(std::size_t index) const {
        return bundleIDs_.empty() ? paths_[index] : usageKeyOfApp(bundleIDs_[index], paths_[index]);
    }
    /** The first entry with this usage key. */
    std::optional<std::size_t> indexOf(const QString &key) const;
    /** The indexes of the applications that fill a role, ascending. */
    const std::vector<std::size_t> &withRole(const QString &role) const;

private:
    /** Where an entry is that has a key of this hash. */
    struct KeyPlace {
        std::uint32_t hash;
        std::uint32_t index;
        bool operator<(const KeyPlace &other) const {
            return hash != other.hash ? hash < other.hash : index < other.index;
        }
    };

    void append(const QString &name, const QStringList &aliases, const QByteArray &description,
                const QString &path);
    void sortKeys();
    std::span<const KeyPlace> placesOf(const QString &key) const;

    SearchEngine::Tiers nameTiers_;
    NameTable names_;
    NameTable aliases_;
    std::vector<std::uint32_t> aliasStarts_{0};
    std::vector<std::uint64_t> wordMasks_;
    QHash<QString, std::vector<std::size_t>> roles_;
    // What the usage keys are made of, in the records' own memory.
    std::vector<QString> bundleIDs_; ///< of projects none
    std::vector<QString> paths_;
    std::vector<KeyPlace> places_; ///< of all keys, sorted: a hash that holds no texts
    std::vector<qint64> launches_;
    ActionIndex actions_;
    std::optional<quint64> generation_; ///< of the usage tables
};

inline qint64 SearchIndex::score(const PreparedQuery &query, std::size_t index,
                                 qint64 atLeast) const {
    const qint64 needed = launches_[index] > 0 ? atLeast - SearchEngine::mostUsageBoost : atLeast;
    qint64 best = names_.score(query, index, nameTiers_, needed);
    for (std::size_t alias = aliasStarts_[index]; alias < aliasStarts_[index + 1]; ++alias)
        best = std::max(best, aliases_.score(query, alias, SearchEngine::appAliasTiers, needed));
    return best < 1 ? best : best + SearchEngine::usageBoost(launches(index));
}

template <typename Function>
void SearchIndex::forEachCandidate(const PreparedQuery &query, Function function) const {
    const auto mayMatch = [mask = query.mask](std::uint64_t has) { return (mask & ~has) == 0; };
    const std::span<const std::uint64_t> names = names_.masks();
    const std::span<const std::uint64_t> aliases = aliases_.masks();
    // Of projects there are many, and they have no aliases: this loop is to stay as short as it is.
    if (aliases.empty()) {
        for (std::size_t i = 0; i < names.size(); ++i)
            if (mayMatch(names[i]))
                function(i);
        return;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (mayMatch(names[i]) || std::any_of(aliases.begin() + aliasStarts_[i],
                                              aliases.begin() + aliasStarts_[i + 1], mayMatch))
            function(i);
    }
}

} // namespace corvid
