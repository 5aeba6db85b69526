#include "Chat/InlineMarkup.h"

#include "Chat/MarkdownLine.h"

#include <QUrl>

#include <algorithm>
#include <md4c.h>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// What the parser is given is all continuation of a paragraph: so indented, no line of it can be
// anything else. Its first line is ours.
constexpr QLatin1StringView firstLine("x");
constexpr QLatin1StringView continuation("\n    ");

constexpr unsigned dialect =
    MD_FLAG_NOHTML | MD_FLAG_STRIKETHROUGH | MD_FLAG_PERMISSIVEURLAUTOLINKS;

// The address as a browser or a mail program is given it; empty where it is neither's.
QString openable(const QString &address) {
    const QUrl url(address, QUrl::StrictMode);
    const bool web = url.scheme() == "http"_L1 || url.scheme() == "https"_L1;
    const bool mail = url.scheme() == "mailto"_L1 && !url.path().isEmpty();
    if (!url.isValid() || !((web && !url.host().isEmpty()) || mail))
        return {};
    return url.toString(QUrl::FullyEncoded);
}

QString textOf(const MD_CHAR *text, MD_SIZE size) {
    return QString::fromUtf8(text, static_cast<qsizetype>(size));
}

std::vector<InlineRun> asItIs(const QString &text) {
    std::vector<InlineRun> runs;
    for (const QString &line : text.split(u'\n'))
        runs.push_back({.text = line, .endsLine = true});
    runs.back().endsLine = false;
    return runs;
}

/** Collects what the parser calls out. */
class Collector {
public:
    std::vector<InlineRun> runs(const QString &markdown) {
        QString source = firstLine;
        for (const QStringView line : QStringView(markdown).split(u'\n'))
            source.append(continuation).append(line);
        const QByteArray bytes = source.toUtf8();
        MD_PARSER parser{};
        parser.flags = dialect;
        // Anything but one paragraph is a mistake of ours, which must not lose text.
        parser.enter_block = [](MD_BLOCKTYPE type, void *, void *) {
            return type == MD_BLOCK_DOC || type == MD_BLOCK_P ? 0 : -1;
        };
        parser.leave_block = [](MD_BLOCKTYPE, void *, void *) { return 0; };
        parser.enter_span = [](MD_SPANTYPE type, void *detail, void *self) {
            static_cast<Collector *>(self)->enter(type, detail);
            return 0;
        };
        parser.leave_span = [](MD_SPANTYPE type, void *detail, void *self) {
            static_cast<Collector *>(self)->leave(type, detail);
            return 0;
        };
        parser.text = [](MD_TEXTTYPE type, const MD_CHAR *text, MD_SIZE size, void *self) {
            static_cast<Collector *>(self)->add(type, text, size);
            return 0;
        };
        if (md_parse(bytes.constData(), static_cast<MD_SIZE>(bytes.size()), &parser, this) != 0)
            return asItIs(markdown);
        return std::move(runs_);
    }

private:
    void enter(MD_SPANTYPE type, void *detail) {
        count(type, 1);
        if (type == MD_SPAN_A || type == MD_SPAN_IMG) {
            const MD_ATTRIBUTE &href = type == MD_SPAN_A
                                           ? static_cast<MD_SPAN_A_DETAIL *>(detail)->href
                                           : static_cast<MD_SPAN_IMG_DETAIL *>(detail)->src;
            links_.push_back({.address = textOf(href.text, href.size)});
            links_.back().openable = openable(links_.back().address);
        }
    }

    void leave(MD_SPANTYPE type, void * /*detail*/) {
        count(type, -1);
        if (type != MD_SPAN_A && type != MD_SPAN_IMG)
            return;
        const Link link = std::exchange(links_.back(), {});
        links_.pop_back();
        // Where nothing can be opened, or there is nothing to click on, the address is text.
        const bool empty = link.text.isEmpty();
        if (link.address.isEmpty() || link.address == link.text ||
            (!empty && !link.openable.isEmpty()))
            return;
        append(empty ? link.address : u" ("_s + link.address + u')', link.openable);
    }

    void count(MD_SPANTYPE type, int by) {
        switch (type) {
        case MD_SPAN_STRONG:
            strong_ += by;
            break;
        case MD_SPAN_EM:
            emphasised_ += by;
            break;
        case MD_SPAN_DEL:
            struck_ += by;
            break;
        case MD_SPAN_CODE:
            code_ += by;
            break;
        default:
            break;
        }
    }

    void add(MD_TEXTTYPE type, const MD_CHAR *text, MD_SIZE size) {
        if (std::exchange(withinFirstLine_, false))
            return; // it comes by itself, since its end is a piece of its own
        if (type == MD_TEXT_BR || type == MD_TEXT_SOFTBR) {
            if (!std::exchange(behindFirstLine_, true))
                return;
            if (runs_.empty() || runs_.back().endsLine)
                runs_.emplace_back();
            runs_.back().endsLine = true;
            return;
        }
        append(type == MD_TEXT_NULLCHAR ? QString(QChar::ReplacementCharacter) : textOf(text, size),
               links_.empty() ? QString() : links_.back().openable);
    }

    void append(const QString &text, const QString &address) {
        for (Link &link : links_)
            link.text += text;
        const InlineRun run{.text = text,
                            .strong = strong_ > 0,
                            .emphasised = emphasised_ > 0,
                            .struck = struck_ > 0,
                            .code = code_ > 0,
                            .endsLine = false,
                            .address = address};
        if (!runs_.empty()) {
            InlineRun same = runs_.back();
            same.text = text;
            if (same == run) {
                runs_.back().text += text;
                return;
            }
        }
        runs_.push_back(run);
    }

    struct Link {
        QString address;
        QString openable = {};
        QString text = {};
    };

    std::vector<InlineRun> runs_;
    std::vector<Link> links_;
    int strong_ = 0;
    int emphasised_ = 0;
    int struck_ = 0;
    int code_ = 0;
    bool withinFirstLine_ = true;
    bool behindFirstLine_ = false;
};

// Behind the code that begins at `from` with a run of backticks; -1 when it does not end.
qsizetype endOfCode(QStringView text, qsizetype from) {
    const qsizetype length = md::run(text.sliced(from), u'`');
    for (qsizetype i = from + length; i < text.size();) {
        const qsizetype run = md::run(text.sliced(i), u'`');
        if (run == length)
            return i + run;
        i += std::max<qsizetype>(run, 1);
    }
    return -1;
}

// A link whose address has begun: its text alone.
QString withoutOpenAddress(QString text) {
    const qsizetype middle = text.lastIndexOf("]("_L1);
    if (middle < 0 || text.indexOf(u')', middle) >= 0)
        return text;
    const qsizetype begin = text.lastIndexOf(u'[', middle);
    if (begin < 0)
        return text;
    text.truncate(middle);
    text.remove(begin, 1);
    return text;
}

} // namespace

std::vector<InlineRun> inlineRuns(const QString &markdown) {
    // Blanks at the ends part words from those of the part before or behind.
    const QStringView all(markdown);
    const QStringView text = all.trimmed();
    if (text.isEmpty())
        return markdown.isEmpty() ? std::vector<InlineRun>() : asItIs(markdown);
    const qsizetype before = text.begin() - all.begin();
    std::vector<InlineRun> runs = Collector().runs(text.toString());
    if (before > 0)
        runs.insert(runs.begin(), InlineRun{.text = markdown.first(before)});
    if (const QStringView behind = all.sliced(before + text.size()); !behind.isEmpty())
        runs.push_back({.text = behind.toString()});
    return runs;
}

QString closedForNow(const QString &markdown) {
    QString text = withoutOpenAddress(markdown);
    const QString signs = u"*_~`"_s;
    QStringList open; // the signs that close what is open, innermost last
    for (qsizetype i = 0; i < text.size();) {
        const QChar c = text[i];
        if (c == u'\\') {
            i += 2;
            continue;
        }
        const qsizetype run = signs.contains(c) ? md::run(QStringView(text).sliced(i), c) : 0;
        if (run == 0) {
            ++i;
            continue;
        }
        if (i + run == text.size() && (open.isEmpty() || open.back() != text.sliced(i))) {
            text.truncate(i); // what it will be is not known yet
            break;
        }
        if (c == u'`') {
            const qsizetype end = endOfCode(text, i);
            if (end < 0) {
                open.append(QString(run, c));
                break;
            }
            i = end;
            continue;
        }
        const QString sign(run, c);
        const bool behindWord = i > 0 && !text[i - 1].isSpace();
        const bool beforeWord = i + run < text.size() && !text[i + run].isSpace();
        const bool withinWord = c == u'_' && behindWord && text[i - 1].isLetterOrNumber();
        if (behindWord && !open.isEmpty() && open.back() == sign)
            open.removeLast();
        else if (beforeWord && !withinWord && (c != u'~' || run == 2))
            open.append(sign);
        i += run;
    }
    while (!text.isEmpty() && text.back().isSpace()) // nothing closes behind a blank
        text.chop(1);
    while (!open.isEmpty())
        text += open.takeLast();
    return text;
}

} // namespace corvid
