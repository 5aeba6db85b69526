#include "Search/Spelling.h"

#include <algorithm>
#include <array>

namespace corvid::spelling {

namespace {

// Latin, Greek, Cyrillic and the other alphabets that write accents over letters.
constexpr char16_t firstInTable = 0xc0;
constexpr char16_t endOfTable = 0x2000;

/** For each letter the one below its accents, and 0 for an accent. Looked up for each letter of
    every name, for which Unicode's own tables are too slow. */
class PlainLetters {
public:
    PlainLetters() {
        for (char16_t c = firstInTable; c < endOfTable; ++c)
            letters_[c - firstInTable] = plainLetter(QChar(c));
    }
    char16_t operator[](QChar c) const {
        const char16_t unit = c.unicode();
        return unit < firstInTable || unit >= endOfTable ? unit : letters_[unit - firstInTable];
    }

private:
    static char16_t plainLetter(QChar c) {
        if (c.unicode() >= 0x300 && c.unicode() <= 0x36f)
            return 0;
        while (c.decompositionTag() == QChar::Canonical)
            c = c.decomposition().front();
        return c.unicode();
    }

    std::array<char16_t, endOfTable - firstInTable> letters_;
};

} // namespace

void removeAccents(QStringView text, QString &plain) {
    static const PlainLetters letters;
    plain.resize(0);
    for (const QChar c : text)
        if (const char16_t letter = letters[c]; letter != 0)
            plain += QChar(letter);
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
