#include "Search/SpellingRows.h"

#include "Base/Text.h"
#include "Search/Spelling.h"
#include "Search/Words.h"

#include <algorithm>
#include <tuple>

namespace corvid {

namespace {

constexpr qsizetype fewestLetters = 4;

/** What is looked for, without accents. */
struct Misspelt {
    explicit Misspelt(words::Phrase phrase) : wanted(std::move(phrase.words)) {
        for (const words::Wanted &word : wanted) {
            for (const QChar &letter : word.units) {
                const std::uint64_t bit = unitMask(QStringView(&letter, 1));
                twice |= mask & bit;
                mask |= bit;
            }
        }
    }

    /** False for most of the names that do not hold it: one slip puts one letter in at most, and
        not a second time. */
    bool mayBeIn(std::uint64_t nameMask) const {
        const std::uint64_t missing = mask & ~nameMask;
        return (missing & (missing - 1)) == 0 && (missing & twice) == 0;
    }

    std::vector<words::Wanted> wanted;
    std::uint64_t mask = 0;  ///< of its letters, as unitMask() tells
    std::uint64_t twice = 0; ///< of those that occur twice and more
};

struct Spelt {
    int slips;
    bool isAlias;
    bool beginsOtherwise; ///< the first letter is rarely the wrong one
    qint64 launches;
    qsizetype leftOut; ///< words that are not asked for
    bool isProject;
    std::size_t index;

    bool isBefore(const Spelt &other) const {
        return std::tuple(slips, isAlias, beginsOtherwise, -launches, leftOut) <
               std::tuple(other.slips, other.isAlias, other.beginsOtherwise, -other.launches,
                          other.leftOut);
    }
};

/** False, at once, for most of the words that are not one slip away: where they begin otherwise,
   the slip is there. Both have two letters and more. */
bool mayBeOneSlip(QStringView one, QStringView other) {
    return one[0] == other[0] || one[1] == other[1] || one[0] == other[1] || one[1] == other[0];
}

/** The slips with which a text has the words, at most one; absent where there are more. */
std::optional<Spelt> speltIn(QStringView text, const Misspelt &query) {
    Spelt result{};
    for (const words::Wanted &wanted : query.wanted) {
        int fewest = 2;
        bool otherBeginning = false;
        words::forEach(text, [&](QStringView word) {
            if (fewest == 0 || word.size() + 1 < wanted.units.size())
                return;
            const bool beginsAlike = word.front() == wanted.units.front();
            if (beginsAlike &&
                (word == wanted.units || (wanted.mayBegin && word.startsWith(wanted.units))))
                fewest = 0;
            else if (wanted.units.size() >= fewestLetters && result.slips == 0 &&
                     mayBeOneSlip(wanted.units, word) && spelling::isOneSlip(wanted.units, word)) {
                fewest = 1;
                otherBeginning = !beginsAlike;
            }
        });
        result.slips += fewest;
        if (result.slips > 1)
            return std::nullopt;
        result.beginsOtherwise |= fewest == 1 && otherBeginning;
    }
    result.leftOut = words::count(text);
    return result;
}

class SpellingSearch {
public:
    explicit SpellingSearch(std::vector<Misspelt> queries) : queries_(std::move(queries)) {}

    void in(const SearchIndex &index, bool isProject) {
        const std::span<const std::uint64_t> names = index.names().masks();
        const std::span<const std::uint64_t> aliases = index.aliases().masks();
        for (std::size_t i = 0; i < names.size(); ++i) {
            std::optional<Spelt> best;
            if (mayBeIn(names[i]))
                tryName(best, index.names(), i, false);
            if (!aliases.empty()) {
                for (std::size_t at = index.firstAlias(i); at < index.endOfAliases(i); ++at)
                    if (mayBeIn(aliases[at]))
                        tryName(best, index.aliases(), at, true);
            }
            if (!best)
                continue;
            best->launches = index.launches(i);
            best->isProject = isProject;
            best->index = i;
            offer(*best);
        }
    }
    const std::vector<Spelt> &found() const { return found_; }

private:
    bool mayBeIn(std::uint64_t nameMask) const {
        for (const Misspelt &query : queries_)
            if (query.mayBeIn(nameMask))
                return true;
        return false;
    }
    void tryName(std::optional<Spelt> &best, const NameTable &names, std::size_t at, bool isAlias) {
        for (const Misspelt &query : queries_) {
            if (!query.mayBeIn(names.mask(at)))
                continue;
            const QStringView plain = spelling::withoutAccents(names.at(at).units, memory_);
            std::optional<Spelt> spelt = speltIn(plain, query);
            if (!spelt)
                continue;
            spelt->isAlias = isAlias;
            if (!best || spelt->isBefore(*best))
                best = spelt;
        }
    }

    void offer(const Spelt &spelt) {
        const auto isBefore = [](const Spelt &one, const Spelt &other) {
            return one.isBefore(other);
        };
        found_.insert(std::upper_bound(found_.begin(), found_.end(), spelt, isBefore), spelt);
        if (found_.size() > mostSearchRows)
            found_.pop_back();
    }

    std::vector<Misspelt> queries_;
    std::vector<Spelt> found_;
    QString memory_; ///< of names without their accents
};

} // namespace

Rows spellingRows(const Query &query, const RowSources &from) {
    QString memory;
    const QString plain = spelling::withoutAccents(folded(query.text), memory).toString();
    std::vector<Misspelt> queries;
    for (words::Phrase &phrase : words::phrasesOf(plain))
        queries.emplace_back(std::move(phrase));
    if (plain.size() < fewestLetters || queries.empty())
        return {};
    SpellingSearch search(std::move(queries));
    search.in(from.appIndex, false);
    search.in(from.projectIndex, true);
    Rows rows;
    for (const Spelt &spelt : search.found())
        rows.push_back(spelt.isProject ? foundProjectRow(spelt.index, from)
                                       : appRow(spelt.index, from));
    return rows;
}

} // namespace corvid
