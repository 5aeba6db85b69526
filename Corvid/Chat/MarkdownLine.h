#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstdint>
#include <optional>
#include <vector>

/** What a line of Markdown says by itself. Columns count a tab up to the next fourth one. "Text" is
    a line without the blanks at its ends. Pure functions; any thread. */
namespace corvid::md {

/** The columns of blanks at the beginning. */
int indent(QStringView line);
/** Without so many columns of them; what a tab has beyond stays as spaces. */
QString unindented(const QString &line, int columns);
QStringView trimmedLeft(QStringView line);
/** How many times the text begins with this character. */
qsizetype run(QStringView text, QChar c);

/** A line across. */
bool isRule(QStringView line);
/** What makes a heading of the paragraph above. */
bool isUnderline(QStringView text);

struct Heading {
    int level;
    QStringView text;
};
std::optional<Heading> heading(QStringView text);

/** The length of the fence that opens a block of code; 0 when there is none. */
int fenceLength(QStringView text);

/** What lines can stand within: a quotation, or an item of a list. */
struct Container {
    bool quote = false;
    int indent = 0;      ///< columns before an item's content
    QChar sign = {};     ///< of an item: the bullet, or what follows the number
    int number = 0;      ///< of an item of a numbered list
    QString marker = {}; ///< of an item: what is shown before it
};
/** Whether the line goes on with it; it is then what stands within. */
bool goesOn(const Container &container, QString &line);
enum class Within : std::uint8_t { Paragraph, Other };
/** The container that the line opens, which it is then the content of. `before` is the one that
    ends where this begins, or null: numbers go on from it. Within a paragraph, a number or a dash
    at the beginning of a line is seldom meant as a list. */
std::optional<Container> opened(QString &line, const Container *before, Within within);

/** The cells of a table's row. */
QStringList cells(QStringView text);
/** What the line below a table's first row says of its columns; empty when it is no such line. */
std::vector<Qt::Alignment> columns(QStringView text);

/** Whether the text ends a paragraph by what it begins with, containers aside. */
bool beginsBlock(QStringView text);
/** Whether the beginning of a line has no text yet that is surely text. */
bool mayBecomeMarkup(QStringView text);

} // namespace corvid::md
