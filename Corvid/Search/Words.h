#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <vector>

/**
 * Words of folded texts: letters, digits, "+" and "#" in a row. Everything else, blanks and hyphens
 * alike, stands between words. Pure, any thread, and no allocation where it says nothing else.
 */
namespace corvid::words {

/** So many letters of a word name it, and more of them, too. Shorter ones name only themselves. */
inline constexpr qsizetype fewestOfPrefix = 3;

inline bool isPartOfWord(QChar unit) {
    const char16_t c = unit.unicode();
    if (c < 0x80)
        return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') ||
               c == u'+' || c == u'#';
    return unit.isLetterOrNumber() || unit.isMark() || unit.isSurrogate();
}

/** Calls `function` with each word of the text. */
template <typename Function>
void forEach(QStringView text, Function function) {
    for (qsizetype start = 0; start < text.size();) {
        if (!isPartOfWord(text[start])) {
            ++start;
            continue;
        }
        qsizetype end = start + 1;
        while (end < text.size() && isPartOfWord(text[end]))
            ++end;
        function(text.sliced(start, end - start));
        start = end;
    }
}

qsizetype count(QStringView text);

/** In which way a text has a word, and where in its memory; the best one, and the first of these.
    The singular of a plural that is asked for fits as a beginning does, and what only begins with
   it
    ("apps" and "applications") as Singular. */
struct Fit {
    enum Kind { Whole, Beginning, Singular, None };
    Kind kind = None;
    qsizetype at = 0;
};

/** Two bits for the beginning of each word. A text can only have a word, whole or by its beginning,
    when it has the word's bits. */
std::uint64_t maskOf(QStringView text);

/** A word that is looked for. */
struct Wanted {
    explicit Wanted(QStringView word);

    Fit fitIn(QStringView text) const;
    /** The same in UTF-8, in a text that has nothing but single blanks between its words. */
    Fit fitIn(QByteArrayView text) const;

    QString units;
    QByteArray bytes; ///< in UTF-8
    bool mayBegin;    ///< whether it finds words that go on behind it
    qsizetype ending; ///< the letters that make it the plural of an English word; 0 for none
    /** A text can only have it when its unitMask() has all bits of this. */
    std::uint64_t mask;
};

/** What is looked for: all of its words, in any order, "and" aside, which others write "&".
    Allocates. */
struct Phrase {
    explicit Phrase(QStringView folded);

    std::vector<Wanted> words;
    std::uint64_t mask = 0; ///< a text has all words only when it has all these bits
};

/** What a typed text looks for: its words, and where it has blanks or hyphens, what it is without
    them ("wi-fi" and "wifi"). Allocates. */
std::vector<Phrase> phrasesOf(const QString &typed);

} // namespace corvid::words
