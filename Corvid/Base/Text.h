#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>
#include <span>
#include <vector>

namespace corvid {

/** The form in which strings are compared: full Unicode lower case, then NFC, so that composed
    and decomposed spellings are equal. */
QString folded(const QString &text);

/** A bit for each class of UTF-16 units that occurs. A text can only hold another one, in one piece
    or letter by letter, when its mask has all bits of the other's. */
std::uint64_t unitMask(QStringView text);

/** A name from outside, cut where nobody has ever seen one go on: behind 256 characters (extended
    grapheme clusters) or 1,024 UTF-16 units. Copies nothing in the usual case. */
QString nameFrom(const QString &text);

/** Text from outside, fit to be shown as plain text: line feeds and tabs stay, separators of lines
    and paragraphs become line feeds; other control characters, whatever overrides the direction
    of writing, and code points that text layouts take for markers of their own are gone. Works on
    each UTF-16 unit by itself, so that a text may be passed through in pieces. */
QString displayText(const QString &text);

/** The same on one line: line feeds, separators and tabs become spaces. Copies nothing in the
    usual case that there is nothing to change. */
QString displayLine(const QString &text);

/**
 * A folded string seen as characters (extended grapheme clusters). Does not own its memory.
 * In nearly every string each character is one UTF-16 unit; then `bounds` is empty and a
 * character's index is its unit's index.
 */
struct FoldedView {
    QStringView units;
    std::span<const std::uint32_t> bounds; ///< unit offset of each character, and the end

    bool simple() const { return bounds.empty(); }
    qsizetype size() const {
        return simple() ? units.size() : static_cast<qsizetype>(bounds.size()) - 1;
    }
    QStringView at(qsizetype index) const {
        if (simple())
            return units.sliced(index, 1);
        const auto i = static_cast<std::size_t>(index);
        return units.sliced(bounds[i], bounds[i + 1] - bounds[i]);
    }
};

/** A folded string that owns its memory. */
class FoldedText {
public:
    explicit FoldedText(const QString &text);

    const QString &units() const { return units_; }
    FoldedView view() const { return {units_, bounds_}; }

private:
    QString units_;
    std::vector<std::uint32_t> bounds_;
};

} // namespace corvid
