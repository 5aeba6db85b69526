#include "Chat/ServerSentEvents.h"

#include "Chat/ChatProtocol.h"

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Including the space: "data:" without one begins no data line here.
constexpr QByteArrayView prefix = "data: ";

} // namespace

QString ServerSentEvents::cutOffText() {
    return u"[The answer is cut off here: it is too long to show.]"_s;
}

bool ServerSentEvents::read(QByteArrayView bytes, QStringList &pieces) {
    for (const char byte : bytes) {
        if (ended_)
            break;
        if (byte == '\n' || byte == '\r') // after the CR of a CRLF, the LF ends an empty line
            endLine(pieces);
        else if (ignoringLine_ || (line_.size() < prefix.size() && byte != prefix[line_.size()]))
            ignoringLine_ = true;
        else if (line_.size() < maxLine)
            line_.append(byte);
        else
            cutOff(pieces);
    }
    return !ended_;
}

void ServerSentEvents::finish(QStringList &pieces) {
    endLine(pieces);
    ended_ = true;
}

void ServerSentEvents::endLine(QStringList &pieces) {
    ignoringLine_ = false;
    const QByteArray line = std::exchange(line_, {});
    if (!line.startsWith(prefix))
        return;
    const QByteArrayView data = QByteArrayView(line).sliced(prefix.size());
    if (data == "[DONE]") {
        ended_ = true;
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
    ended_ = true;
}

} // namespace corvid
