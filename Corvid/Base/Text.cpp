#include "Base/Text.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace corvid {

namespace {

// Carriage return is left out: followed by a line feed it makes one character of two units.
bool isPlainAscii(QStringView text) {
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return c.unicode() < 0x80 && c != u'\r'; });
}

bool breaksLine(QChar c) {
    return c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

bool isDisplayed(char16_t c) {
    if (c < 0x20)
        return c == u'\n' || c == u'\t';
    const bool control = c >= 0x7f && c <= 0x9f;
    const bool direction = (c >= 0x202a && c <= 0x202e) || (c >= 0x2066 && c <= 0x206f);
    // Qt's documents mark frames and objects with some of these.
    const bool marker = (c >= 0xfdd0 && c <= 0xfdef) || (c >= 0xfff9 && c <= 0xfffc) || c >= 0xfffe;
    return !control && !direction && !marker;
}

} // namespace

QString folded(const QString &text) {
    if (isPlainAscii(text))
        return text.toLower();
    return text.toLower().normalized(QString::NormalizationForm_C);
}

std::uint64_t unitMask(QStringView text) {
    std::uint64_t mask = 0;
    for (const QChar unit : text)
        mask |= std::uint64_t{1} << (unit.unicode() % 64);
    return mask;
}

QString nameFrom(const QString &text) {
    constexpr int mostCharacters = 256;
    constexpr qsizetype mostUnits = 1024; // one character may have any number of combining marks
    if (text.size() <= mostCharacters)
        return text;
    // A unit more shows whether the last character ends there.
    const QString head = text.left(mostUnits + 1);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, head);
    qsizetype end = 0;
    for (int count = 0; count < mostCharacters && finder.toNextBoundary() > 0; ++count) {
        if (finder.position() > mostUnits)
            break;
        end = finder.position();
    }
    if (end == 0) // a character that does not end
        end = head[mostUnits].isLowSurrogate() ? mostUnits - 1 : mostUnits;
    return text.left(end);
}

QString displayText(const QString &text) {
    QString shown;
    shown.reserve(text.size());
    for (const QChar c : text) {
        if (breaksLine(c))
            shown += u'\n';
        else if (isDisplayed(c.unicode()))
            shown += c;
    }
    return shown;
}

QString displayLine(const QString &text) {
    const bool isLine = std::all_of(text.begin(), text.end(), [](QChar c) {
        // Everything from the space to the delete character is shown as it is.
        return (c >= u' ' && c < u'\x7f') ||
               (c > u' ' && !breaksLine(c) && isDisplayed(c.unicode()));
    });
    if (isLine)
        return text;
    QString shown = displayText(text);
    for (QChar &c : shown) {
        if (c == u'\n' || c == u'\t')
            c = u' ';
    }
    return shown;
}

FoldedText::FoldedText(const QString &text) : units_(folded(text)) {
    if (isPlainAscii(units_))
        return;
    bounds_.push_back(0);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, units_);
    while (finder.toNextBoundary() > 0)
        bounds_.push_back(static_cast<std::uint32_t>(finder.position()));
    if (static_cast<qsizetype>(bounds_.size()) - 1 == units_.size())
        bounds_.clear();
}

} // namespace corvid
