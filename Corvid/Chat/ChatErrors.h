#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

class QNetworkReply;

/**
 * What went wrong with an endpoint and what a person can do about it, in words. Pure functions, any
 * thread. What a server says is text from outside: show it through displayText().
 */
namespace corvid::chat {

/** The beginning of a body that is kept to see what a server says, in bytes. */
inline constexpr qsizetype maxRemark = 64 * 1024;

/** A status outside 200–299, and what came with it. */
struct Refusal {
    int status = 0;
    QByteArray body = {};       ///< its first maxRemark bytes
    QByteArray retryAfter = {}; ///< the header; empty without one
    QUrl redirect = {};         ///< the address that it points to, which was not followed
};

/** Why a request that has failed came to nothing. May quote what was sent. */
QString connectionError(const QNetworkReply &reply);

/** The server ended the connection too early. */
QString cutOffError(const QUrl &url);

/** Nobody answered in time. */
QString timeoutError(const QUrl &url);

/** What to do about a refusal, then what the server says of it. */
QString adviceOn(const Refusal &refusal, const QString &model);

/** The same on a reply of the status 200 that holds no answer. */
QString adviceOnNoAnswer(const QByteArray &body);

/** Why the list of models cannot be had. */
QString listRefusedText(const Refusal &refusal);
/** The same on a reply of the status 200 that is no such list. */
QString noListText(const QByteArray &body);

/** The server's own message in the body of a reply, in its first 500 characters; empty where there
    is none for people, as in a web page. */
QString serverMessage(const QByteArray &body);

} // namespace corvid::chat
