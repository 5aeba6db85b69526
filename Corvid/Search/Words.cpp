#include "Search/Words.h"

#include "Base/Text.h"

#include <algorithm>
#include <string_view>

namespace corvid::words {

using namespace Qt::Literals::StringLiterals;

namespace {

// Two for each word: with one alone, most texts that have a bit have it for another word.
std::uint64_t bitsOf(QStringView word) {
    constexpr unsigned bits = 64;
    unsigned hash = 0;
    for (const QChar unit : word.first(std::min(word.size(), fewestOfPrefix)))
        hash = hash * 37 + unit.unicode();
    return std::uint64_t{1} << (hash % bits) | std::uint64_t{1} << (hash / bits % bits);
}

// "printers", "addresses", but not "class".
qsizetype pluralEnding(QStringView word) {
    constexpr qsizetype fewestOfSingular = fewestOfPrefix;
    for (const QStringView sibilant : {u"sses", u"shes", u"ches", u"xes"})
        if (word.size() >= fewestOfSingular + 2 && word.endsWith(sibilant))
            return 2;
    return word.size() > fewestOfSingular && word.endsWith(u's') && !word.endsWith(u"ss") ? 1 : 0;
}

template <typename Text, typename IsPart>
Fit fitOf(Text word, bool mayBegin, Text text, const IsPart &isPart) {
    Fit best;
    for (auto at = text.find(word); at != Text::npos; at = text.find(word, at + 1)) {
        if (at > 0 && isPart(text[at - 1]))
            continue;
        const auto end = at + word.size();
        if (end == text.size() || !isPart(text[end]))
            return {Fit::Whole, static_cast<qsizetype>(at)};
        if (mayBegin && best.kind == Fit::None)
            best = {Fit::Beginning, static_cast<qsizetype>(at)};
    }
    return best;
}

template <typename Text, typename IsPart>
Fit fitOfPlural(Text word, const Wanted &wanted, Text text, const IsPart &isPart) {
    const Fit fit = fitOf(word, wanted.mayBegin, text, isPart);
    if (fit.kind != Fit::None || wanted.ending == 0)
        return fit;
    word.remove_suffix(static_cast<std::size_t>(wanted.ending));
    const Fit singular = fitOf(word, true, text, isPart);
    if (singular.kind == Fit::None)
        return fit;
    return {singular.kind == Fit::Whole ? Fit::Beginning : Fit::Singular, singular.at};
}

std::u16string_view unitsOf(QStringView text) {
    return {text.utf16(), static_cast<std::size_t>(text.size())};
}

std::string_view bytesOf(QByteArrayView text) {
    return {text.data(), static_cast<std::size_t>(text.size())};
}

} // namespace

qsizetype count(QStringView text) {
    qsizetype found = 0;
    forEach(text, [&found](QStringView) { ++found; });
    return found;
}

std::uint64_t maskOf(QStringView text) {
    std::uint64_t mask = 0;
    forEach(text, [&mask](QStringView word) { mask |= bitsOf(word); });
    return mask;
}

Wanted::Wanted(QStringView word)
    : units(word.toString()), bytes(word.toUtf8()), mayBegin(word.size() >= fewestOfPrefix),
      ending(pluralEnding(word)), mask(unitMask(word.chopped(ending))) {}

Fit Wanted::fitIn(QStringView text) const {
    return fitOfPlural(unitsOf(units), *this, unitsOf(text),
                       [](char16_t c) { return isPartOfWord(QChar(c)); });
}

Fit Wanted::fitIn(QByteArrayView text) const {
    return fitOfPlural(bytesOf(bytes), *this, bytesOf(text), [](char c) { return c != ' '; });
}

Phrase::Phrase(QStringView folded) {
    forEach(folded, [this](QStringView word) { words.emplace_back(word); });
    if (words.size() > 1)
        std::erase_if(words, [](const Wanted &word) { return word.units == "and"_L1; });
    for (const Wanted &word : words)
        mask |= maskOf(word.units);
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
