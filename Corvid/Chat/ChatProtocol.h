#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>
#include <vector>

namespace corvid {

/** What a launcher query means, as the model wrote it; nothing is validated. */
struct Intent {
    QString action; ///< "open_app", "open_project" or "none"
    QString app;
    QString project;
    QString editor;

    bool operator==(const Intent &) const = default;
};

} // namespace corvid

/**
 * The chat-completions wire format, once for the whole program. Pure functions, any thread.
 */
namespace corvid::chat {

/** Where requests go: the base address without slashes at its ends, and the path of the call.
    Nothing when that is no URL. A lenient reading: characters that a URL cannot hold are
    escaped. The result need not be an http address. */
std::optional<QUrl> endpoint(const QString &baseURL,
                             QLatin1StringView path = QLatin1StringView("/chat/completions"));

/** The path of the list of models. */
inline constexpr QLatin1StringView modelsPath("/models");

/** A key as it is stored and sent: without the blanks and line ends around it that come along
    where it is copied or piped. */
QString trimmedKey(const QString &key);

/** Whether a key holds a character that no header carries (a line break would begin another
    one). */
bool canBeSent(const QString &key);

/** The value of the Authorization header, in UTF-8. Nothing for a key that cannot be sent. */
std::optional<QByteArray> authorization(const QString &key);

/** What stands for the key of a server that needs none. */
QString placeholderKey();

/** A question and the answer to it. */
struct Turn {
    QString question;
    QString answer;
};

/** Asks for a streamed answer. The instruction tells the model how to answer; the turns are what
    was said before, the oldest first. */
QByteArray answerBody(const QString &model, const QString &instruction, const QString &prompt,
                      const std::vector<Turn> &before = {});

/** The smallest request that shows whether an endpoint streams answers. */
QByteArray testBody(const QString &model);

/** Asks which of the named things a query means. */
QByteArray intentBody(const QString &model, const QString &query, const QStringList &apps,
                      const QStringList &projects, const QStringList &editors);

/** The text in the first choice's `part` ("delta" of a streamed piece, "message" of a whole
    reply). Nothing when the JSON is damaged or anything on the way there is of another type. */
std::optional<QString> content(QByteArrayView bytes, QLatin1StringView part);

/** Reads the body of a reply to an intent request. Nothing when anything in it is missing or of
    another type. Fatal as intentFromText() is. */
std::optional<Intent> intentFromReply(const QByteArray &body);

/** Reads what the model said: the JSON object from the first "{" through the last "}", whatever
    stands around it. A "}" that stands only before the "{" is a fatal error, on purpose. */
std::optional<Intent> intentFromText(const QString &text);

/** The models in the reply to a request for their list, in the order of their names; at most 2,000,
    of at most 200 characters each. Nothing when it is no such list. */
std::optional<QStringList> modelNames(const QByteArray &body);

/** The answer of a stream for which there is no key. */
QString noKeyText();

/** The answer of a stream whose key is in a keyring that stays locked. */
QString lockedText();

/** Why a key that cannot be sent is refused. */
QString unsendableKeyText();

/** The answer of a stream that the endpoint refused. Names the address as it was entered. */
QString httpErrorText(int status, const QString &baseURL);

/** Whether an element of an answer is one of these texts, which are no answers. */
bool isFailureText(const QString &text);

} // namespace corvid::chat
