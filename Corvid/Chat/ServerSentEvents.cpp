#include "Chat/ServerSentEvents.h"

#include "Chat/ChatProtocol.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Including the space: "data:" without one begins no data line here.
constexpr QByteArrayView prefix = "data: ";

bool mayBecomeData(QByteArrayView beginning) {
    const qsizetype known = std::min(beginning.size(), prefix.size());
    return beginning.first(known) == prefix.first(known);
}

} // namespace

QString ServerSentEvents::cutOffText() {
    return u"[The answer is cut off here: it is too long to show.]"_s;
}

ServerSentEvents::State ServerSentEvents::read(QByteArrayView bytes, QStringList &pieces) {
    while (!bytes.isEmpty() && state_ == State::Reading) {
        if (std::exchange(afterCarriageReturn_, false) && bytes.front() == '\n') {
            bytes = bytes.sliced(1);
            continue;
        }
        const auto end =
            std::find_if(bytes.begin(), bytes.end(), [](char c) { return c == '\n' || c == '\r'; });
        keep(bytes.first(end - bytes.begin()), pieces);
        if (end == bytes.end())
            break;
        afterCarriageReturn_ = *end == '\r';
        bytes = bytes.sliced(end + 1 - bytes.begin());
        endLine(pieces);
    }
    return state_;
}

void ServerSentEvents::finish(QStringList &pieces) {
    endLine(pieces);
    state_ = State::Ended;
}

void ServerSentEvents::keep(QByteArrayView part, QStringList &pieces) {
    if (ignoringLine_)
        return;
    // One byte more than a line may have is kept, to tell that the line is too long.
    line_.append(part.first(std::min(part.size(), maxLine + 1 - line_.size())));
    if (!mayBecomeData(line_)) {
        ignoringLine_ = true;
        line_.resize(0);
    } else if (line_.size() > maxLine) {
        cutOff(pieces);
    }
}

void ServerSentEvents::endLine(QStringList &pieces) {
    if (state_ == State::Reading && !std::exchange(ignoringLine_, false))
        takeLine(pieces);
    line_.resize(0);
}

void ServerSentEvents::takeLine(QStringList &pieces) {
    if (!line_.startsWith(prefix))
        return;
    const QByteArrayView data = QByteArrayView(line_).sliced(prefix.size());
    if (data == "[DONE]") {
        state_ = State::Ended;
        return;
    }
    // Bytes that are not UTF-8 become replacement characters; the rest of the line counts.
    std::optional<QString> text = data.isValidUtf8()
                                      ? chat::content(data, "delta"_L1)
                                      : chat::content(QString::fromUtf8(data).toUtf8(), "delta"_L1);
    if (!text)
        return;
    const qsizetype room = maxAnswer - answerSize_;
    const bool fits = text->size() <= room;
    if (!fits) {
        const bool cutsCharacter = room > 0 && text->at(room - 1).isHighSurrogate();
        text->truncate(cutsCharacter ? room - 1 : room);
    }
    answerSize_ += text->size();
    if (fits || !text->isEmpty())
        pieces.append(*std::move(text));
    if (!fits)
        cutOff(pieces);
}

void ServerSentEvents::cutOff(QStringList &pieces) {
    pieces.append(answerSize_ == 0 ? cutOffText() : u"\n\n"_s + cutOffText());
    line_.clear();
    state_ = State::Ended;
}

} // namespace corvid
