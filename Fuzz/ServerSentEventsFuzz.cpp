// However the bytes of a stream are cut into portions, the pieces of text are the same, and no
// more is kept than the longest line.
#include "Chat/ServerSentEvents.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace corvid;

namespace {

template <typename NextSize>
QStringList piecesOf(QByteArrayView bytes, NextSize nextSize) {
    ServerSentEvents events;
    QStringList pieces;
    while (!bytes.isEmpty()) {
        const qsizetype size = std::min(bytes.size(), nextSize());
        const bool ended = !events.read(bytes.first(size), pieces);
        if (events.buffered() > ServerSentEvents::maxLine)
            std::abort();
        if (ended)
            break;
        bytes = bytes.sliced(size);
    }
    events.finish(pieces);
    return pieces;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 2)
        return 0;
    // The first two bytes choose the cuts.
    std::uint32_t seed = data[0] * 256U + data[1] + 1U;
    const QByteArrayView bytes(data + 2, static_cast<qsizetype>(size - 2));
    const QStringList whole = piecesOf(bytes, [&] { return bytes.size(); });
    const QStringList single = piecesOf(bytes, [] { return qsizetype(1); });
    const QStringList random = piecesOf(bytes, [&seed] {
        seed = seed * 1664525U + 1013904223U;
        return static_cast<qsizetype>(1 + (seed >> 16) % 13);
    });
    if (single != whole || random != whole)
        std::abort();
    qsizetype length = 0;
    for (const QString &piece : whole)
        length += piece.size();
    if (length > ServerSentEvents::maxAnswer + ServerSentEvents::cutOffText().size() + 2)
        std::abort();
    return 0;
}
