#include "Search/Words.h"

#include "Base/Text.h"

#include <algorithm>

namespace corvid::words {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr unsigned bits = 63;

unsigned bitOf(QStringView word) {
    unsigned hash = 0;
    for (const QChar unit : word.first(std::min(word.size(), fewestOfPrefix)))
        hash = hash * 37 + unit.unicode();
    return hash % bits;
}

// "printers", "addresses", but not "class".
qsizetype pluralEnding(QStringView word) {
    constexpr qsizetype fewestOfSingular = fewestOfPrefix;
    for (const QStringView sibilant : {u"sses", u"shes", u"ches", u"xes"})
        if (word.size() >= fewestOfSingular + 2 && word.endsWith(sibilant))
            return 2;
    return word.size() > fewestOfSingular && word.endsWith(u's') && !word.endsWith(u"ss") ? 1 : 0;
}

template <typename Text, typename Word, typename IsPart>
Fit fitOf(const Word &word, bool mayBegin, const Text &text, const IsPart &isPart) {
    Fit best;
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + 1)) {
        if (at > 0 && isPart(text[at - 1]))
            continue;
        const qsizetype end = at + word.size();
        if (end == text.size() || !isPart(text[end]))
            return {Fit::Whole, at};
        if (mayBegin && best.kind == Fit::None)
            best = {Fit::Beginning, at};
    }
    return best;
}

template <typename Text, typename Word, typename IsPart>
Fit fitOfPlural(const Word &word, const Wanted &wanted, const Text &text, const IsPart &isPart) {
    const Fit fit = fitOf(word, wanted.mayBegin, text, isPart);
    if (fit.kind != Fit::None || wanted.ending == 0)
        return fit;
    const Fit singular = fitOf(word.chopped(wanted.ending), true, text, isPart);
    if (singular.kind == Fit::None)
        return fit;
    return {singular.kind == Fit::Whole ? Fit::Beginning : Fit::Singular, singular.at};
}

} // namespace

qsizetype count(QStringView text) {
    qsizetype found = 0;
    forEach(text, [&found](QStringView) { ++found; });
    return found;
}

std::uint64_t maskOf(QStringView text) {
    std::uint64_t mask = 0;
    forEach(text, [&mask](QStringView word) { mask |= std::uint64_t{1} << bitOf(word); });
    for (const QChar unit : text)
        if (unit.unicode() >= 0x80)
            return mask | notAscii;
    return mask;
}

Wanted::Wanted(QStringView word)
    : units(word.toString()), bytes(word.toUtf8()), mayBegin(word.size() >= fewestOfPrefix),
      ending(pluralEnding(word)) {}

Fit Wanted::fitIn(QStringView text) const {
    return fitOfPlural(QStringView(units), *this, text, isPartOfWord);
}

Fit Wanted::fitIn(QByteArrayView text) const {
    return fitOfPlural(QByteArrayView(bytes), *this, text, [](char c) { return c != ' '; });
}

Phrase::Phrase(QStringView folded) {
    forEach(folded, [this](QStringView word) { words.emplace_back(word); });
    if (words.size() > 1)
        std::erase_if(words, [](const Wanted &word) { return word.units == "and"_L1; });
    for (const Wanted &word : words)
        mask |= maskOf(word.units) & ~notAscii;
}

std::vector<Phrase> phrasesOf(const QString &typed) {
    const QString text = folded(typed);
    std::vector<Phrase> phrases;
    phrases.emplace_back(text);
    const auto &separate = phrases.front().words;
    if (separate.empty())
        return {};
    if (separate.size() > 1) {
        QString joined;
        for (const Wanted &word : separate)
            joined += word.units;
        phrases.emplace_back(joined);
    }
    return phrases;
}

} // namespace corvid::words
