#include "Search/SpellingRows.h"

#include "Search/Spelling.h"
#include "Search/Words.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace corvid {

namespace {

constexpr qsizetype fewestLetters = 4;

/** What is looked for, without accents. */
struct Misspelt {
    explicit Misspelt(words::Phrase phrase) : wanted(std::move(phrase.words)) {
        QString letters;
        for (const words::Wanted &word : wanted)
            letters += word.units;
        for (const QChar letter : std::as_const(letters)) {
            const std::uint64_t bit = PreparedQuery(letter).mask;
            twice |= mask & bit;
            mask |= bit;
        }
    }

    std::vector<words::Wanted> wanted;
    std::uint64_t mask = 0;  ///< of its letters, as that of a PreparedQuery
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

/** The slips with which a text has the words, at most one; absent where there are more. */
std::optional<Spelt> speltIn(QStringView text, const Misspelt &query) {
    Spelt result{};
    for (const words::Wanted &wanted : query.wanted) {
        int fewest = 2;
        bool otherBeginning = false;
        words::forEach(text, [&](QStringView word) {
            if (fewest == 0)
                return;
            if (word == wanted.units || (wanted.mayBegin && word.startsWith(wanted.units)))
                fewest = 0;
            else if (wanted.units.size() >= fewestLetters && result.slips == 0 &&
                     spelling::isOneSlip(wanted.units, word)) {
                fewest = 1;
                otherBeginning = word.front() != wanted.units.front();
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
        for (std::size_t i = 0; i < index.size(); ++i) {
            hasAccents_ = (index.wordMask(i) & words::notAscii) != 0;
            std::optional<Spelt> best;
            tryName(best, index.names(), i, false);
            for (std::size_t alias = index.firstAlias(i); alias < index.endOfAliases(i); ++alias)
                tryName(best, index.aliases(), alias, true);
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
    void tryName(std::optional<Spelt> &best, const NameTable &names, std::size_t at, bool isAlias) {
        for (const Misspelt &query : queries_) {
            // One slip puts one letter in at most, and not a second time.
            const std::uint64_t missing = query.mask & ~names.mask(at);
            if (!hasAccents_ && ((query.twice & missing) != 0 || std::popcount(missing) > 1))
                continue;
            QStringView text = names.at(at).units;
            if (hasAccents_) {
                spelling::removeAccents(text, plain_);
                text = plain_;
            }
            std::optional<Spelt> spelt = speltIn(text, query);
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
    QString plain_;
    bool hasAccents_ = false;
};

} // namespace

Rows spellingRows(const Query &query, const RowSources &from) {
    QString plain;
    spelling::removeAccents(folded(query.text), plain);
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
