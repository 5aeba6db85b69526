#include "Chat/IntentReply.h"

#include "Chat/ChatProtocol.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

std::optional<Intent> intentFromReply(const QByteArray &body) {
    const std::optional<QString> text = chat::content(body, "message"_L1);
    return text ? intentFromText(*text) : std::nullopt;
}

std::optional<Intent> intentFromText(const QString &text) {
    const qsizetype first = text.indexOf(u'{');
    const qsizetype last = text.lastIndexOf(u'}');
    if (first < 0 || last < 0)
        return std::nullopt;
    if (last < first)
        qFatal("the braces of an intent reply are the wrong way round");
    const QJsonDocument document =
        QJsonDocument::fromJson(text.sliced(first, last - first + 1).toUtf8());
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    return Intent{object.value("action"_L1).toString(u"none"_s), object.value("app"_L1).toString(),
                  object.value("project"_L1).toString(), object.value("editor"_L1).toString()};
}

} // namespace corvid
