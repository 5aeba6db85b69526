#include "Panel/AnswerFormats.h"

#include "Panel/Style.h"

#include <QFontDatabase>
#include <QTextBlock>

#include <algorithm>

namespace corvid::answer {

using namespace Qt::Literals::StringLiterals;
using Kind = AnswerPart::Kind;
using Start = AnswerPart::Start;

namespace {

constexpr int mostInsets = 6; // or there would be no room for the text
constexpr int lineHeight = 125;
constexpr int gap = style::answerSpacing;
constexpr int gapInList = 4;
constexpr int gapBeforeHeading = 14;
constexpr int codeFontSize = 13;

int insets(const AnswerPart &part) {
    return std::min(part.lists + part.quotes, mostInsets);
}

qreal topMargin(const AnswerPart &part, Kind above) {
    if (part.start != Start::Block)
        return 0;
    qreal margin = gap;
    if (part.kind == Kind::Heading)
        margin = gapBeforeHeading;
    else if (part.lists > 0 && !part.marker.isEmpty())
        margin = gapInList;
    if (part.kind == Kind::Code)
        margin += codePadding;
    if (above == Kind::Code)
        margin += codePadding;
    return margin;
}

} // namespace

bool isOf(const QTextBlock &block, Kind kind) {
    return block.isValid() &&
           block.blockFormat().intProperty(KindProperty) == static_cast<int>(kind);
}

bool beginsCode(const QTextBlock &block) {
    return block.blockFormat().boolProperty(BeginsProperty);
}

QTextBlockFormat blockFormat(const AnswerPart &part, Kind above) {
    QTextBlockFormat format;
    format.setProperty(KindProperty, static_cast<int>(part.kind));
    format.setLineHeight(lineHeight, QTextBlockFormat::ProportionalHeight);
    format.setTopMargin(topMargin(part, above));
    format.setIndent(insets(part));
    if (part.quotes > 0)
        format.setProperty(QuotesProperty, std::min(part.quotes, mostInsets));
    if (!part.marker.isEmpty()) {
        // Tabs are mirrored where a line runs from the right.
        const auto tab = part.text.isRightToLeft() ? QTextOption::RightTab : QTextOption::LeftTab;
        format.setTextIndent(-insetWidth);
        format.setTabPositions({QTextOption::Tab(insetWidth, tab)});
    }
    if (part.kind == Kind::Code) {
        constexpr int buttonColumn = style::copySymbolSize + codePadding;
        format.setLeftMargin(codePadding);
        format.setRightMargin(codePadding + buttonColumn);
        format.setLayoutDirection(Qt::LeftToRight);
        format.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute);
        if (part.start == Start::Block)
            format.setProperty(BeginsProperty, true);
    }
    return format;
}

QTextBlockFormat furtherLine(QTextBlockFormat format) {
    format.setTopMargin(0);
    format.clearProperty(QTextFormat::TextIndent);
    format.clearProperty(QTextFormat::TabPositions);
    format.clearProperty(BeginsProperty);
    return format;
}

QTextCharFormat codeText() {
    QTextCharFormat format;
    format.setFontFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
    format.setFontFixedPitch(true);
    format.setProperty(QTextFormat::FontPixelSize, codeFontSize);
    return format;
}

QTextCharFormat headingText(int level) {
    constexpr int sizes[]{18, 16, 15};
    QTextCharFormat format;
    format.setProperty(QTextFormat::FontPixelSize,
                       level <= 3 ? sizes[level - 1] : style::answerFontSize);
    format.setFontWeight(QFont::DemiBold);
    return format;
}

QTextCharFormat runText(const InlineRun &run, QTextCharFormat around) {
    if (run.code) {
        around.merge(codeText());
        around.setProperty(InlineCodeProperty, true);
    }
    if (run.strong)
        around.setFontWeight(QFont::Bold);
    if (run.emphasised)
        around.setFontItalic(true);
    if (run.struck)
        around.setFontStrikeOut(true);
    if (!run.address.isEmpty()) {
        around.setAnchor(true);
        around.setAnchorHref(run.address);
        around.setForeground(style::link());
        around.setFontUnderline(true);
    }
    return around;
}

QTextTableFormat tableFormat(const AnswerPart &row, Kind above) {
    constexpr int cellPadding = 5;
    QTextTableFormat format;
    format.setBorder(0);
    format.setBorderCollapse(true);
    format.setCellSpacing(0);
    format.setCellPadding(cellPadding);
    format.setHeaderRowCount(1);
    format.setTopMargin(gap + (above == Kind::Code ? codePadding : 0));
    format.setBottomMargin(gap); // that of the block behind it is nothing there
    format.setLeftMargin(insets(row) * insetWidth);
    return format;
}

QTextBlockFormat behindTable() {
    QTextBlockFormat format;
    format.setLineHeight(1, QTextBlockFormat::FixedHeight);
    format.setProperty(KindProperty, static_cast<int>(Kind::Row));
    return format;
}

} // namespace corvid::answer
