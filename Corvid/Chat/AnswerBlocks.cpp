#include "Chat/AnswerBlocks.h"

#include "Chat/InlineMarkup.h"

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using Kind = AnswerPart::Kind;
using Start = AnswerPart::Start;

namespace {

constexpr int codeIndent = 4;
constexpr std::size_t deepest = 12; // nobody reads further in
constexpr qsizetype mostColumns = 24;

// Where text of at least `size` units can be cut so that no character of two units is.
qsizetype cutBefore(QStringView text, qsizetype size) {
    return text[size - 1].isHighSurrogate() ? size - 1 : size;
}

} // namespace

void AnswerBlocks::read(QStringView text, std::vector<AnswerPart> &parts) {
    pending_ += text;
    qsizetype from = 0;
    for (;;) {
        const QStringView rest = QStringView(pending_).sliced(from);
        const qsizetype newline = rest.first(std::min(rest.size(), longest + 1)).indexOf(u'\n');
        if (newline < 0 && rest.size() <= longest)
            break;
        const qsizetype size = newline < 0 ? cutBefore(rest, longest) : newline;
        const QString line = rest.first(size).toString();
        if (withinLine_)
            readOn(line);
        else
            readLine(line, newline < 0 ? Length::Beginning : Length::Whole);
        withinLine_ = newline < 0;
        from += newline < 0 ? size : size + 1;
    }
    pending_.remove(0, from);
    std::ranges::move(parts_, std::back_inserter(parts));
    parts_.clear();
}

std::vector<AnswerPart> AnswerBlocks::unfinished(More more) const {
    AnswerBlocks end(*this);
    const bool hidden = more == More::Yes && end.isUndecided();
    if (!hidden && end.withinLine_)
        end.readOn(end.pending_);
    else if (!hidden && !end.pending_.isEmpty())
        end.readLine(end.pending_, Length::Whole);
    if (more == More::Yes && syntax_ == Syntax::Markdown)
        end.showAsTable();
    end.closeTo(0);
    if (more == More::Yes && syntax_ == Syntax::Markdown && !end.parts_.empty()) {
        AnswerPart &last = end.parts_.back();
        if (last.kind == Kind::Row && !last.cells.isEmpty())
            last.cells.back() = closedForNow(last.cells.back());
        else if (last.kind == Kind::Paragraph || last.kind == Kind::Heading)
            last.text = closedForNow(last.text);
    }
    return std::move(end.parts_);
}

// Whether the line that is coming has nothing yet but what may turn out to be markup.
bool AnswerBlocks::isUndecided() const {
    if (syntax_ == Syntax::Plain || withinLine_)
        return false;
    QString rest = pending_;
    const bool goesOn = matchContainers(rest) == containers_.size();
    const QStringView text = QStringView(rest).trimmed();
    if (leaf_ == Leaf::Fenced && goesOn)
        return !text.isEmpty() && md::run(text, fence_) == text.size();
    return md::mayBecomeMarkup(text);
}

// What begins with a bar will be a table as soon as its second line is there.
void AnswerBlocks::showAsTable() {
    if (leaf_ != Leaf::Paragraph || paragraph_.contains(u'\n') || !paragraph_.startsWith(u'|') ||
        next_ != Start::Block)
        return;
    QStringList cells = md::cells(paragraph_);
    if (cells.size() > mostColumns)
        return;
    columns_.assign(static_cast<std::size_t>(cells.size()), Qt::Alignment());
    paragraph_.clear();
    leaf_ = Leaf::Table;
    emitPart({.kind = Kind::Row, .cells = std::move(cells), .alignments = columns_});
}

void AnswerBlocks::readLine(const QString &line, Length length) {
    if (syntax_ == Syntax::Plain) {
        AnswerPart part{.kind = Kind::Plain};
        part.text = line;
        emitPart(std::move(part));
        next_ = Start::Line;
        return;
    }
    QString rest = line;
    std::size_t depth = matchContainers(rest);
    if (leaf_ == Leaf::Fenced && depth == containers_.size()) {
        const QStringView text = QStringView(rest).trimmed();
        const bool closes = length == Length::Whole && md::indent(rest) < codeIndent &&
                            text.size() >= fenceLength_ && md::run(text, fence_) == text.size();
        if (closes)
            closeLeaf();
        else
            addCode(md::unindented(rest, std::min(fenceIndent_, md::indent(rest))));
        return;
    }
    if (QStringView(rest).trimmed().isEmpty()) {
        if (leaf_ == Leaf::Indented && depth == containers_.size())
            ++blankLines_;
        else if (depth < containers_.size())
            closeTo(depth);
        else if (leaf_ != Leaf::Indented)
            closeLeaf();
        return;
    }
    const bool goesOn = depth == containers_.size();
    while (md::indent(rest) < codeIndent && !md::isRule(rest) && openContainer(rest, depth)) {
    }
    const bool opened = depth == containers_.size() && !goesOn;
    const QStringView text = QStringView(rest).trimmed();
    const bool lazy = !goesOn && !opened && leaf_ == Leaf::Paragraph &&
                      !(md::indent(rest) < codeIndent && md::beginsBlock(text));
    if (lazy) {
        addToParagraph(text, Start::Line);
        return;
    }
    if (depth < containers_.size())
        closeTo(depth);
    if (text.isEmpty()) // an item, or a quotation, without anything so far
        return;
    if (length == Length::Beginning || !readLeaf(rest)) {
        if (leaf_ == Leaf::Indented || leaf_ == Leaf::Table)
            closeLeaf();
        // A blank at the end of a beginning parts two words.
        addToParagraph(length == Length::Beginning ? md::trimmedLeft(rest) : text, Start::Line);
    }
}

// More of a line whose beginning was read: it is what that is.
void AnswerBlocks::readOn(const QString &text) {
    if (syntax_ == Syntax::Plain || leaf_ == Leaf::Fenced || leaf_ == Leaf::Indented) {
        AnswerPart part{.kind = syntax_ == Syntax::Plain ? Kind::Plain : Kind::Code};
        next_ = Start::Joined;
        part.text = text;
        emitPart(std::move(part));
        next_ = Start::Line;
    } else {
        addToParagraph(text, Start::Joined);
    }
}

// How many of the containers the line goes on with; `rest` is what stands within them.
std::size_t AnswerBlocks::matchContainers(QString &rest) const {
    std::size_t depth = 0;
    while (depth < containers_.size() && md::goesOn(containers_[depth], rest))
        ++depth;
    return depth;
}

bool AnswerBlocks::openContainer(QString &rest, std::size_t &depth) {
    if (depth >= deepest)
        return false;
    const md::Container *before = depth < containers_.size() ? &containers_[depth] : nullptr;
    const auto within =
        leaf_ == Leaf::Paragraph && !before ? md::Within::Paragraph : md::Within::Other;
    std::optional<md::Container> opened = md::opened(rest, before, within);
    if (!opened)
        return false;
    closeTo(depth);
    containers_.push_back(std::move(*opened));
    ++depth;
    return true;
}

// The line as another part than a paragraph; false when it is none.
bool AnswerBlocks::readLeaf(const QString &rest) {
    const int indent = md::indent(rest);
    const QStringView text = QStringView(rest).trimmed();
    if (indent >= codeIndent) {
        if (leaf_ == Leaf::Paragraph)
            return false;
        if (leaf_ != Leaf::Indented) {
            closeLeaf();
            leaf_ = Leaf::Indented;
            blankLines_ = 0;
        }
        for (; blankLines_ > 0; --blankLines_)
            addCode({});
        addCode(md::unindented(rest, codeIndent));
        return true;
    }
    if (leaf_ == Leaf::Paragraph && next_ == Start::Block && md::isUnderline(text)) {
        AnswerPart heading{.kind = Kind::Heading, .level = text.front() == u'=' ? 1 : 2};
        heading.text = std::exchange(paragraph_, {});
        leaf_ = Leaf::None;
        emitPart(std::move(heading));
        return true;
    }
    if (md::isRule(rest)) {
        closeLeaf();
        emitPart({.kind = Kind::Rule});
        return true;
    }
    if (readHeading(text) || readFence(text, indent) || readDelimiters(text))
        return true;
    if (leaf_ == Leaf::Table && text.contains(u'|')) {
        readRow(text);
        return true;
    }
    return false;
}

bool AnswerBlocks::readHeading(QStringView text) {
    const std::optional<md::Heading> heading = md::heading(text);
    if (!heading)
        return false;
    closeLeaf();
    AnswerPart part{.kind = Kind::Heading, .level = heading->level};
    part.text = heading->text.toString();
    emitPart(std::move(part));
    return true;
}

bool AnswerBlocks::readFence(QStringView text, int indent) {
    const int length = md::fenceLength(text);
    if (length == 0)
        return false;
    closeLeaf();
    leaf_ = Leaf::Fenced;
    fence_ = text.front();
    fenceLength_ = length;
    fenceIndent_ = indent;
    return true;
}

// The second line of a table, which makes the line before it the first.
bool AnswerBlocks::readDelimiters(QStringView text) {
    if (leaf_ != Leaf::Paragraph)
        return false;
    std::vector<Qt::Alignment> columns = md::columns(text);
    const qsizetype lineBreak = paragraph_.lastIndexOf(u'\n');
    const QStringList cells = md::cells(QStringView(paragraph_).sliced(lineBreak + 1));
    if (columns.empty() || cells.size() > mostColumns ||
        static_cast<std::size_t>(cells.size()) != columns.size() ||
        (lineBreak < 0 && next_ != Start::Block))
        return false;
    paragraph_.truncate(std::max<qsizetype>(lineBreak, 0));
    if (!paragraph_.isEmpty())
        closeLeaf();
    leaf_ = Leaf::Table;
    paragraph_.clear();
    columns_ = std::move(columns);
    next_ = Start::Block;
    emitPart({.kind = Kind::Row, .cells = cells, .alignments = columns_});
    next_ = Start::Line;
    return true;
}

void AnswerBlocks::readRow(QStringView text) {
    AnswerPart row{.kind = Kind::Row};
    row.cells = md::cells(text);
    const auto count = static_cast<qsizetype>(columns_.size());
    while (row.cells.size() > count) { // what is too much stays readable in the last
        const QString surplus = row.cells.takeLast();
        row.cells.back() += u" | "_s + surplus;
    }
    row.cells.resize(count);
    emitPart(std::move(row));
}

void AnswerBlocks::addToParagraph(QStringView text, Start start) {
    if (leaf_ != Leaf::Paragraph) {
        closeLeaf();
        leaf_ = Leaf::Paragraph;
        next_ = Start::Block;
    } else if (start == Start::Line) {
        paragraph_ += u'\n';
    }
    paragraph_ += text;
    while (paragraph_.size() > longest) {
        const QStringView head = QStringView(paragraph_).first(longest);
        const qsizetype lineBreak = head.lastIndexOf(u'\n');
        const qsizetype blank = head.lastIndexOf(u' ');
        const bool atBreak = lineBreak > 0;
        qsizetype cut = atBreak ? lineBreak : blank + 1;
        if (cut <= 0)
            cut = cutBefore(head, longest);
        AnswerPart part;
        part.text = paragraph_.first(cut);
        emitPart(std::move(part));
        paragraph_.remove(0, atBreak ? cut + 1 : cut);
        next_ = atBreak ? Start::Line : Start::Joined;
    }
}

void AnswerBlocks::addCode(const QString &text) {
    AnswerPart part{.kind = Kind::Code};
    part.text = text;
    emitPart(std::move(part));
    next_ = Start::Line;
}

void AnswerBlocks::closeLeaf() {
    const Leaf leaf = std::exchange(leaf_, Leaf::None);
    if (leaf == Leaf::Paragraph && !(paragraph_.isEmpty() && next_ != Start::Block)) {
        AnswerPart part;
        part.text = std::exchange(paragraph_, {});
        emitPart(std::move(part));
    } else if (leaf == Leaf::Fenced && next_ == Start::Block) {
        addCode({});
    }
    paragraph_.clear();
    next_ = Start::Block;
}

// Ends what is open further in than so many containers.
void AnswerBlocks::closeTo(std::size_t depth) {
    closeLeaf();
    if (containers_.size() > depth &&
        std::ranges::any_of(containers_,
                            [](const md::Container &each) { return !each.marker.isEmpty(); }))
        emitPart({}); // an item without anything
    containers_.resize(depth);
}

void AnswerBlocks::emitPart(AnswerPart part) {
    part.start = next_;
    for (md::Container &container : containers_) {
        ++(container.quote ? part.quotes : part.lists);
        if (container.marker.isEmpty())
            continue;
        part.marker += (part.marker.isEmpty() ? QString() : u" "_s) + container.marker;
        container.marker.clear();
    }
    parts_.push_back(std::move(part));
}

} // namespace corvid
