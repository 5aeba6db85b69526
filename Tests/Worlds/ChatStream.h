#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace corvid::test {

/** What a chat server that streams its answer says first. */
inline const QByteArray streamHead = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n";

/** A piece of its answer. */
inline QByteArray chunk(const QString &text) {
    using namespace Qt::Literals::StringLiterals;
    const QJsonObject delta{{u"delta"_s, QJsonObject{{u"content"_s, text}}}};
    return "data: " +
           QJsonDocument(QJsonObject{{u"choices"_s, QJsonArray{delta}}})
               .toJson(QJsonDocument::Compact) +
           "\n\n";
}

} // namespace corvid::test
