#include "Search/WordRows.h"

#include "Search/Words.h"

#include <algorithm>
#include <tuple>

namespace corvid {

namespace {

using words::Fit;

/** Where a word was found; the better one first. */
enum class Place { Name, Alias, Description };

/** How good a find is; the smaller the better. */
struct Rank {
    int inexact = 0; ///< how far its words are from being there whole
    Place place = Place::Name;
    qint64 launches = 0;
    /** How much else it is: the words of its name, or how far behind in the description. */
    qsizetype aside = 0;

    bool isBefore(const Rank &other) const {
        return std::tuple(inexact, place, -launches, aside) <
               std::tuple(other.inexact, other.place, -other.launches, other.aside);
    }
};

struct Find {
    Rank rank;
    bool isProject;
    std::size_t index;
};

/** The best of all, in the order in which they are offered where they are equal. Some are listed
    already for another reason, so there are more than are needed. */
class Finds {
public:
    void offer(const Find &find) {
        const auto isBefore = [](const Find &one, const Find &other) {
            return one.rank.isBefore(other.rank);
        };
        finds_.insert(std::upper_bound(finds_.begin(), finds_.end(), find, isBefore), find);
        if (finds_.size() > most)
            finds_.pop_back();
    }
    const std::vector<Find> &all() const { return finds_; }

private:
    static constexpr std::size_t most = 2 * mostSearchRows;
    std::vector<Find> finds_;
};

/** What one entry is searched in. */
struct Texts {
    const SearchIndex &index;
    std::size_t entry;
    QByteArrayView description;
};

struct PlacedFit {
    Fit fit;
    Place place;
};

PlacedFit fitOf(const words::Wanted &word, const Texts &in) {
    PlacedFit best{{}, Place::Name};
    const auto improve = [&best](const Fit &fit, Place place) {
        if (fit.kind < best.fit.kind)
            best = {fit, place};
    };
    const auto lookIn = [&](const NameTable &names, std::size_t index, Place place) {
        if ((word.mask & ~names.mask(index)) == 0)
            improve(word.fitIn(names.at(index).units), place);
    };
    lookIn(in.index.names(), in.entry, Place::Name);
    if (best.fit.kind == Fit::Whole)
        return best;
    const std::size_t end = in.index.endOfAliases(in.entry);
    for (std::size_t i = in.index.firstAlias(in.entry); i < end; ++i)
        lookIn(in.index.aliases(), i, Place::Alias);
    improve(word.fitIn(in.description), Place::Description);
    return best;
}

std::optional<Rank> rankOf(const words::Phrase &phrase, const Texts &in) {
    Rank rank;
    for (const words::Wanted &word : phrase.words) {
        const auto [fit, place] = fitOf(word, in);
        if (fit.kind == Fit::None)
            return std::nullopt;
        rank.inexact += fit.kind;
        rank.place = std::max(rank.place, place);
        if (place == Place::Description)
            rank.aside = std::max(rank.aside, fit.at);
    }
    if (rank.place != Place::Description)
        rank.aside = words::count(in.index.names().at(in.entry).units);
    rank.launches = in.index.launches(in.entry);
    return rank;
}

template <typename DescriptionOf>
void collect(Finds &finds, const std::vector<words::Phrase> &phrases, const SearchIndex &index,
             bool isProject, const DescriptionOf &descriptionOf) {
    const std::span<const std::uint64_t> wordMasks = index.wordMasks();
    for (std::size_t i = 0; i < wordMasks.size(); ++i) {
        std::optional<Rank> best;
        for (const words::Phrase &phrase : phrases) {
            if ((phrase.mask & ~wordMasks[i]) != 0)
                continue;
            const std::optional<Rank> rank = rankOf(phrase, {index, i, descriptionOf(i)});
            if (rank && (!best || rank->isBefore(*best)))
                best = rank;
        }
        if (best)
            finds.offer({*best, isProject, i});
    }
}

} // namespace

Rows wordRows(const Query &query, const RowSources &from) {
    const std::vector<words::Phrase> phrases = words::phrasesOf(query.text);
    if (phrases.empty())
        return {};
    Finds finds;
    collect(finds, phrases, from.appIndex, false,
            [&from](std::size_t i) { return QByteArrayView(from.apps[i].words); });
    collect(finds, phrases, from.projectIndex, true, [](std::size_t) { return QByteArrayView(); });
    Rows rows;
    for (const Find &find : finds.all())
        rows.push_back(find.isProject ? foundProjectRow(find.index, from)
                                      : appRow(find.index, from));
    return rows;
}

} // namespace corvid
