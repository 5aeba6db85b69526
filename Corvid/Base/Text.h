#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>
#include <vector>

namespace corvid {

/** The form in which strings are compared: full Unicode lower case, then NFC, so that composed
    and decomposed spellings are equal. */
QString folded(const QString &text);

/** Text from outside, fit to be shown as plain text: line feeds and tabs stay, separators of lines
    and paragraphs become line feeds; other control characters, whatever overrides the direction
    of writing, and code points that text layouts take for markers of their own are gone. Works on
    each UTF-16 unit by itself, so that a text may be passed through in pieces. */
QString displayText(const QString &text);

/** The same on one line: line feeds, separators and tabs become spaces. Copies nothing in the
    usual case that there is nothing to change. */
QString displayLine(const QString &text);

/** A folded string as a sequence of characters (extended grapheme clusters). */
class FoldedText {
public:
    explicit FoldedText(const QString &text);

    const QString &units() const { return units_; }
    /** Each character is one UTF-16 unit, as in nearly every string. */
    bool simple() const { return bounds_.empty(); }
    qsizetype size() const {
        return simple() ? units_.size() : static_cast<qsizetype>(bounds_.size()) - 1;
    }
    QStringView at(qsizetype index) const {
        if (simple())
            return QStringView(units_).sliced(index, 1);
        const auto i = static_cast<std::size_t>(index);
        return QStringView(units_).sliced(bounds_[i], bounds_[i + 1] - bounds_[i]);
    }

private:
    QString units_;
    std::vector<std::uint32_t> bounds_; ///< unit offset of each character, and the end; or none
};

} // namespace corvid
