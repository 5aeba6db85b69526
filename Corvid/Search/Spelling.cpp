#include "Search/Spelling.h"

#include <algorithm>
#include <array>

namespace corvid::spelling {

namespace {

// Latin, Greek, Cyrillic and the other alphabets that write accents over letters.
constexpr char16_t firstInTable = 0xc0;
constexpr char16_t endOfTable = 0x2000;

char16_t withoutAccent(QChar c) {
    if (c.unicode() >= 0x300 && c.unicode() <= 0x36f)
        return 0;
    while (c.decompositionTag() == QChar::Canonical)
        c = c.decomposition().front();
    return c.unicode();
}

/** The letter below the accents of one from the table on, and 0 for an accent. Asked for each such
    letter of every name, for which Unicode's own tables are too slow. */
char16_t plainLetter(char16_t c) {
    static const auto letters = [] {
        std::array<char16_t, endOfTable - firstInTable> made;
        for (char16_t letter = firstInTable; letter < endOfTable; ++letter)
            made[letter - firstInTable] = withoutAccent(QChar(letter));
        return made;
    }();
    return c < endOfTable ? letters[c - firstInTable] : c;
}

} // namespace

QStringView withoutAccents(QStringView text, QString &memory) {
    const auto isPlain = [](QChar c) { return c.unicode() < firstInTable; };
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text;
    memory.resize(0);
    for (const QChar c : text) {
        const char16_t letter = isPlain(c) ? c.unicode() : plainLetter(c.unicode());
        if (letter != 0)
            memory += QChar(letter);
    }
    return memory;
}

bool isOneSlip(QStringView one, QStringView other) {
    const QStringView shorter = one.size() < other.size() ? one : other;
    const QStringView longer = one.size() < other.size() ? other : one;
    const qsizetype size = shorter.size();
    if (longer.size() > size + 1)
        return false;
    const qsizetype head =
        std::mismatch(shorter.begin(), shorter.end(), longer.begin()).first - shorter.begin();
    if (longer.size() > size)
        return shorter.sliced(head) == longer.sliced(head + 1);
    if (head == size)
        return false;
    if (shorter.sliced(head + 1) == longer.sliced(head + 1))
        return true;
    return head + 1 < size && shorter[head] == longer[head + 1] &&
           shorter[head + 1] == longer[head] && shorter.sliced(head + 2) == longer.sliced(head + 2);
}

} // namespace corvid::spelling
