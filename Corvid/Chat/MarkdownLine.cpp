#include "Chat/MarkdownLine.h"

#include <algorithm>

namespace corvid::md {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int tabStop = 4;
constexpr int codeIndent = 4;
constexpr qsizetype longestNumber = 9;

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

qsizetype digits(QStringView text) {
    return std::find_if_not(text.begin(), text.end(), isDigit) - text.begin();
}

// Takes the sign of a quotation away; false when there is none.
bool takeQuoteSign(QString &line) {
    const QStringView text = trimmedLeft(line);
    if (!text.startsWith(u'>') || indent(line) >= codeIndent)
        return false;
    // The blank behind the sign belongs to it.
    const QString rest = text.sliced(1).toString();
    line = indent(rest) > 0 ? unindented(rest, 1) : rest;
    return true;
}

struct Item {
    int indent; // columns before the content, which further lines have, too
    QChar sign;
    std::optional<int> number;
    QString content;
};

std::optional<Item> item(const QString &line) {
    const QStringView text = trimmedLeft(line);
    if (text.isEmpty())
        return {};
    Item found{.indent = indent(line), .sign = text.front(), .number = {}, .content = {}};
    qsizetype size = 1;
    if (const qsizetype length = digits(text); length > 0) {
        if (length > longestNumber || length == text.size())
            return {};
        found.number = text.first(length).toInt();
        found.sign = text[length];
        size = length + 1;
        if (found.sign != u'.' && found.sign != u')')
            return {};
    } else if (!u"-+*"_s.contains(found.sign)) {
        return {};
    }
    if (size < text.size() && !isBlank(text[size]))
        return {};
    const QString rest = text.sliced(size).toString();
    // More blanks than these are a block of code within the item.
    const int blanks = indent(rest);
    const bool isEmpty = QStringView(rest).trimmed().isEmpty();
    const int own = isEmpty || blanks > codeIndent ? 1 : blanks;
    found.indent += static_cast<int>(size) + own;
    if (!isEmpty)
        found.content = unindented(rest, own);
    return found;
}

// Takes away the box of a task, and answers the one to be shown.
std::optional<QString> takeTask(QString &content) {
    if (content.size() < 4 || content[0] != u'[' || content[2] != u']' || !isBlank(content[3]))
        return {};
    const QChar sign = content[1].toLower();
    if (sign != u' ' && sign != u'x')
        return {};
    content.remove(0, 4);
    return sign == u'x' ? u"☑"_s : u"☐"_s;
}

} // namespace

int indent(QStringView line) {
    int columns = 0;
    for (const QChar c : line) {
        if (!isBlank(c))
            break;
        columns += c == u'\t' ? tabStop - columns % tabStop : 1;
    }
    return columns;
}

QString unindented(const QString &line, int columns) {
    int column = 0;
    qsizetype at = 0;
    for (; at < line.size() && column < columns && isBlank(line[at]); ++at)
        column += line[at] == u'\t' ? tabStop - column % tabStop : 1;
    return QString(std::max(0, column - columns), u' ').append(QStringView(line).sliced(at));
}

QStringView trimmedLeft(QStringView line) {
    return line.sliced(std::find_if_not(line.begin(), line.end(), isBlank) - line.begin());
}

qsizetype run(QStringView text, QChar c) {
    return std::find_if(text.begin(), text.end(), [c](QChar other) { return other != c; }) -
           text.begin();
}

bool isRule(QStringView line) {
    const QStringView text = line.trimmed();
    if (text.isEmpty() || indent(line) >= codeIndent || !u"-_*"_s.contains(text.front()))
        return false;
    const QChar sign = text.front();
    return text.count(sign) >= 3 &&
           std::ranges::all_of(text, [sign](QChar c) { return c == sign || isBlank(c); });
}

bool isUnderline(QStringView text) {
    return text.size() >= 2 && (text.front() == u'=' || text.front() == u'-') &&
           run(text, text.front()) == text.size();
}

std::optional<Heading> heading(QStringView text) {
    const qsizetype level = run(text, u'#');
    if (level < 1 || level > 6 || (level < text.size() && !isBlank(text[level])))
        return {};
    QStringView title = text.sliced(level).trimmed();
    qsizetype end = title.size();
    while (end > 0 && title[end - 1] == u'#')
        --end;
    if (end == 0 || isBlank(title[end - 1])) // the signs at the end are an ornament
        title = title.first(end).trimmed();
    return Heading{static_cast<int>(level), title};
}

int fenceLength(QStringView text) {
    if (text.isEmpty() || (text.front() != u'`' && text.front() != u'~'))
        return 0;
    const qsizetype length = run(text, text.front());
    const bool isInline = text.front() == u'`' && text.sliced(length).contains(u'`');
    return length >= 3 && !isInline ? static_cast<int>(length) : 0;
}

bool goesOn(const Container &container, QString &line) {
    if (container.quote)
        return takeQuoteSign(line);
    if (QStringView(line).trimmed().isEmpty()) // an item goes on behind blank lines
        return true;
    if (indent(line) < container.indent)
        return false;
    line = unindented(line, container.indent);
    return true;
}

std::optional<Container> opened(QString &line, const Container *before, Within within) {
    if (takeQuoteSign(line))
        return Container{.quote = true};
    std::optional<Item> found = item(line);
    if (!found || (within == Within::Paragraph &&
                   (found->content.isEmpty() || found->number.value_or(1) != 1)))
        return {};
    Container container{.indent = found->indent, .sign = found->sign};
    if (found->number) {
        const bool another = before && !before->quote && before->sign == found->sign;
        container.number = another ? before->number + 1 : *found->number;
        container.marker = QString::number(container.number) + found->sign;
    } else {
        container.marker = takeTask(found->content).value_or(u"•"_s);
    }
    line = found->content;
    return container;
}

QStringList cells(QStringView text) {
    text = text.trimmed();
    if (text.startsWith(u'|'))
        text = text.sliced(1);
    QStringList found;
    QString cell;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\\' && i + 1 < text.size()) {
            if (text[i + 1] != u'|')
                cell += text[i];
            cell += text[++i];
        } else if (text[i] == u'|') {
            found.append(cell.trimmed());
            cell.clear();
        } else {
            cell += text[i];
        }
    }
    if (!text.endsWith(u'|') || !cell.isEmpty())
        found.append(cell.trimmed());
    return found;
}

std::vector<Qt::Alignment> columns(QStringView text) {
    const auto isDelimiter = [](QChar c) { return c == u'|' || c == u'-' || c == u':'; };
    if (!text.contains(u'|') ||
        !std::ranges::all_of(text, [&](QChar c) { return isDelimiter(c) || isBlank(c); }))
        return {};
    std::vector<Qt::Alignment> found;
    for (const QString &cell : cells(text)) {
        const QStringView line(cell);
        const bool left = line.startsWith(u':');
        const bool right = line.size() > 1 && line.endsWith(u':');
        const QStringView dashes = line.sliced(left, line.size() - left - right);
        if (dashes.isEmpty() || run(dashes, u'-') != dashes.size())
            return {};
        if (left && right)
            found.emplace_back(Qt::AlignHCenter);
        else if (right)
            found.emplace_back(Qt::AlignTrailing);
        else
            found.emplace_back();
    }
    return found;
}

bool beginsBlock(QStringView text) {
    return heading(text) || fenceLength(text) > 0 || isRule(text);
}

bool mayBecomeMarkup(QStringView text) {
    if (text.isEmpty())
        return false;
    const qsizetype number = digits(text);
    if (number > 0)
        return number <= longestNumber &&
               (number == text.size() ||
                (number + 1 == text.size() && u".)"_s.contains(text[number])));
    if (fenceLength(text) > 0)
        return false; // it is one, whatever follows
    return std::ranges::all_of(text, [](QChar c) { return u"#*-+_=~`>|: "_s.contains(c); });
}

} // namespace corvid::md
