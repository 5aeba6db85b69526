// However the bytes of an answer are cut into pieces its parts are the same, each of them is
// bounded, and no letter of it is lost. A third byte of 1 repeats what is longer than a page up to
// the longest answer, which takes a second: for many executions, keep inputs below that
// (-max_len=256).
#include "Base/Text.h"
#include "Chat/AnswerBlocks.h"
#include "Chat/InlineMarkup.h"
#include "Chat/ServerSentEvents.h"
#include "FuzzInput.h"

#include <algorithm>

using namespace corvid;
using fuzz::require;

namespace {

using Check = void (*)(const AnswerPart &);

/** What tells the parts of one text from those of another, without keeping them. */
struct Digest {
    std::size_t hash = 0;
    std::size_t parts = 0;
    bool operator==(const Digest &) const = default;

    void add(const std::vector<AnswerPart> &more, Check check) {
        for (const AnswerPart &part : more) {
            hash =
                qHashMulti(hash, static_cast<int>(part.kind), static_cast<int>(part.start),
                           part.quotes, part.lists, part.level, part.marker, part.text, part.cells);
            ++parts;
            check(part);
        }
    }
};

template <typename NextSize>
Digest digestOf(
    const QString &text, NextSize nextSize, Check check = [](const AnswerPart &) {}) {
    AnswerBlocks blocks;
    Digest digest;
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype size = std::min(text.size() - at, nextSize());
        std::vector<AnswerPart> parts;
        blocks.read(QStringView(text).sliced(at, size), parts);
        digest.add(parts, check);
        at += size;
        for (const AnswerPart &part : blocks.unfinished(AnswerBlocks::More::Yes))
            static_cast<void>(inlineRuns(part.text));
    }
    digest.add(blocks.unfinished(AnswerBlocks::More::No), check);
    return digest;
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

void checkPart(const AnswerPart &part) {
    require(part.text.size() <= AnswerBlocks::longest, "a part is bounded");
    require(part.quotes + part.lists <= 12, "so is its depth");
    if (part.kind == AnswerPart::Kind::Paragraph || part.kind == AnswerPart::Kind::Heading)
        checkRuns(part.text);
    for (const QString &cell : part.cells)
        checkRuns(cell);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 3)
        return 0;
    // The first bytes choose the cuts and the length.
    std::uint32_t seed = data[0] * 256U + data[1] + 1U;
    QString text = displayText(QString::fromUtf8(fuzz::bytesOf(data + 3, size - 3)));
    constexpr std::size_t page = 1024;
    const bool isLong = data[2] == 1 && size > page && !text.isEmpty();
    if (isLong)
        text = text.repeated(ServerSentEvents::maxAnswer / text.size());
    // As it is shown: no more than a portion at once.
    constexpr qsizetype portion = 2000;
    const Digest whole = digestOf(
        text, [] { return portion; }, checkPart);
    const Digest random = digestOf(text, [&] {
        seed = seed * 1664525U + 1013904223U;
        return static_cast<qsizetype>(1 + (seed >> 16) % (isLong ? 60000 : 13));
    });
    require(random == whole, "the cuts make no difference");
    constexpr qsizetype fewCharacters = 128;
    if (text.size() <= fewCharacters)
        require(digestOf(text, [] { return qsizetype(1); }) == whole, "nor does each character");
    return 0;
}
