#pragma once

#include <QString>

#include <vector>

namespace corvid {

/** A stretch of text that looks the same all along. */
struct InlineRun {
    QString text; ///< without line ends
    bool strong = false;
    bool emphasised = false;
    bool struck = false;
    bool code = false;
    bool endsLine = false; ///< a line ends behind it
    QString address = {};  ///< of a link that a browser or a mail program opens

    bool operator==(const InlineRun &) const = default;
};

/** Takes Markdown apart within its lines: emphasis, code, links. A picture is a link to it, an
    address of any other kind than a web page's or a mailbox's is text, and so is HTML. Takes time
    in proportion to the text for any text as short as AnswerBlocks makes it. Pure; any thread. */
std::vector<InlineRun> inlineRuns(const QString &markdown);

/** The beginning of a text, as it will most likely read when the rest is there: what was opened is
    closed, what may still become markup is left out. */
QString closedForNow(const QString &markdown);

} // namespace corvid
