#pragma once

#include "Chat/MarkdownLine.h"

#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstdint>
#include <vector>

namespace corvid {

/** A piece of an answer that stands by itself: a paragraph, a line of code, a row of a table. */
struct AnswerPart {
    enum class Kind : std::uint8_t {
        Paragraph,
        Heading,
        Code,
        Row,
        Rule,
        Plain ///< a line that is no Markdown
    };
    /** How it follows the part before it. */
    enum class Start : std::uint8_t {
        Block, ///< as another paragraph, block of code or table
        Line,  ///< as a further line of the same one
        Joined ///< on the same line, which was parted because it is long
    };

    Kind kind = Kind::Paragraph;
    Start start = Start::Block;
    int quotes = 0; ///< so many quotations deep
    int lists = 0;  ///< so many lists deep
    int level = 0;  ///< of a heading, 1 to 6
    /** What stands before the first part of a list's item. */
    QString marker = {};
    /** Of a paragraph and a heading: Markdown within lines (inlineRuns). Otherwise as it is. */
    QString text = {};
    /** Of a row, a cell for each column: Markdown within a line. */
    QStringList cells = {};
    std::vector<Qt::Alignment> alignments = {}; ///< of the columns, in a table's first row

    bool operator==(const AnswerPart &) const = default;
};

/**
 * Takes an answer in Markdown apart while it comes. A part that was handed out never changes: of a
 * growing answer only the end, which is bounded, is looked at anew. However an answer is cut into
 * pieces, its parts are the same. What it reads is CommonMark's blocks with GitHub's tables and
 * tasks, but for these: HTML is text, a line that ends within a paragraph ends on the screen too,
 * an address is not given elsewhere than in its link. Nothing here fails: what is no Markdown is a
 * paragraph. A value; any one thread.
 */
class AnswerBlocks {
public:
    enum class Syntax : std::uint8_t {
        Markdown,
        Plain ///< each line is shown as it is
    };
    /** Whether more is expected of the answer. */
    enum class More : std::uint8_t { No, Yes };

    /** UTF-16 units that are kept back at most: longer lines and paragraphs are parted. */
    static constexpr qsizetype longest = 2000;

    explicit AnswerBlocks(Syntax syntax = Syntax::Markdown) : syntax_(syntax) {}

    /** Takes the next piece, and appends the parts that it completes. */
    void read(QStringView text, std::vector<AnswerPart> &parts);

    /** What is not complete yet, as if it ended here. While more is expected it looks like what it
        will most likely be, and what may still become markup is left out. */
    std::vector<AnswerPart> unfinished(More more) const;

private:
    enum class Leaf : std::uint8_t { None, Paragraph, Fenced, Indented, Table };
    enum class Length : std::uint8_t { Whole, Beginning };

    void readLine(const QString &line, Length length);
    void readOn(const QString &text);
    std::size_t matchContainers(QString &rest) const;
    bool openContainer(QString &rest, std::size_t &depth);
    bool readLeaf(const QString &rest);
    bool readFence(QStringView text, int indent);
    bool readHeading(QStringView text);
    bool readDelimiters(QStringView text);
    void readRow(QStringView text);
    void addToParagraph(QStringView text, AnswerPart::Start start);
    void addCode(const QString &text);
    void closeLeaf();
    void closeTo(std::size_t depth);
    void emitPart(AnswerPart part);
    bool isUndecided() const;
    void showAsTable();

    Syntax syntax_;
    QString pending_;                       ///< of a line that has not ended
    bool withinLine_ = false;               ///< its beginning was read already
    std::vector<md::Container> containers_; ///< their markers only until a part has taken them
    Leaf leaf_ = Leaf::None;
    QString paragraph_;
    AnswerPart::Start next_ = AnswerPart::Start::Block; ///< of the open leaf's next part
    QChar fence_;
    int fenceLength_ = 0;
    int fenceIndent_ = 0;
    int blankLines_ = 0; ///< of indented code, which count only if more code follows
    std::vector<Qt::Alignment> columns_;
    std::vector<AnswerPart> parts_;
};

} // namespace corvid
