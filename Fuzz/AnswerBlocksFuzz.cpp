// However the bytes of an answer are cut into pieces its parts are the same, each of them is
// bounded, and no letter of it is lost. A first byte of 1 repeats the rest up to the longest
// answer.
#include "Base/Text.h"
#include "Chat/AnswerBlocks.h"
#include "Chat/InlineMarkup.h"
#include "Chat/ServerSentEvents.h"
#include "FuzzInput.h"

#include <algorithm>

using namespace corvid;
using fuzz::require;

namespace {

using Parts = std::vector<AnswerPart>;

template <typename NextSize>
Parts partsOf(const QString &text, NextSize nextSize) {
    AnswerBlocks blocks;
    Parts parts;
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype size = std::min(text.size() - at, nextSize());
        blocks.read(QStringView(text).sliced(at, size), parts);
        at += size;
        for (const AnswerPart &part : blocks.unfinished(AnswerBlocks::More::Yes))
            static_cast<void>(inlineRuns(part.text));
    }
    const Parts end = blocks.unfinished(AnswerBlocks::More::No);
    parts.insert(parts.end(), end.begin(), end.end());
    return parts;
}

qsizetype letters(const QString &text) {
    return std::count_if(text.begin(), text.end(), [](QChar c) { return c.isLetter(); });
}

void checkRuns(const QString &markdown) {
    qsizetype shown = 0;
    for (const InlineRun &run : inlineRuns(markdown)) {
        require(!run.text.contains(u'\n'), "a run has no line end");
        require(run.address.isEmpty() || run.address.startsWith(u"http:") ||
                    run.address.startsWith(u"https:") || run.address.startsWith(u"mailto:"),
                "only pages and mailboxes are opened");
        shown += letters(run.text);
    }
    // The address of a link, and its title, are not text.
    if (!markdown.contains(u'['))
        require(shown == letters(QString::fromUtf8(markdown.toUtf8())), "no letter is lost");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 3)
        return 0;
    // The first bytes choose the cuts and the length.
    std::uint32_t seed = data[0] * 256U + data[1] + 1U;
    QString text = displayText(QString::fromUtf8(fuzz::bytesOf(data + 3, size - 3)));
    const bool isLong = data[2] == 1 && !text.isEmpty();
    if (isLong)
        text = text.repeated(ServerSentEvents::maxAnswer / text.size());
    const Parts whole = partsOf(text, [&] { return std::max<qsizetype>(text.size(), 1); });
    const Parts random = partsOf(text, [&] {
        seed = seed * 1664525U + 1013904223U;
        return static_cast<qsizetype>(1 + (seed >> 16) % (isLong ? 60000 : 13));
    });
    require(random == whole, "the cuts make no difference");
    if (!isLong)
        require(partsOf(text, [] { return qsizetype(1); }) == whole, "nor does each character");
    for (const AnswerPart &part : whole) {
        require(part.text.size() <= AnswerBlocks::longest, "a part is bounded");
        require(part.quotes + part.lists <= 12, "so is its depth");
        if (part.kind == AnswerPart::Kind::Paragraph || part.kind == AnswerPart::Kind::Heading)
            checkRuns(part.text);
        for (const QString &cell : part.cells)
            checkRuns(cell);
    }
    return 0;
}
