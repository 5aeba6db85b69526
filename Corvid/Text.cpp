#include "Text.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace corvid {

namespace {

// Carriage return is left out: followed by a line feed it makes one character of two units.
bool isPlainAscii(QStringView text) {
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return c.unicode() < 0x80 && c != u'\r'; });
}

} // namespace

QString folded(const QString &text) {
    if (isPlainAscii(text))
        return text.toLower();
    return text.toLower().normalized(QString::NormalizationForm_C);
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
