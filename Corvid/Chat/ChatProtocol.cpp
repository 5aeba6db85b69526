#include "Chat/ChatProtocol.h"

#include "Base/Json.h"
#include "Base/Text.h"
#include "Base/Wipe.h"

#include <QJsonDocument>

#include <algorithm>

namespace corvid::chat {

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject messageOf(const QString &role, const QString &text) {
    return {{u"role"_s, role}, {u"content"_s, text}};
}

QJsonArray messages(const QString &instruction, const QString &text,
                    const std::vector<Turn> &before = {}) {
    QJsonArray result{messageOf(u"system"_s, instruction)};
    for (const Turn &turn : before) {
        result.append(messageOf(u"user"_s, turn.question));
        result.append(messageOf(u"assistant"_s, turn.answer));
    }
    result.append(messageOf(u"user"_s, text));
    return result;
}

QByteArray encoded(const QJsonObject &body) {
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

const QString intentInstruction =
    u"You map a launcher command to one concrete action. Reply ONLY with minified JSON, no "
    "markdown:\n"
    "{\"action\":\"open_app\"|\"open_project\"|\"none\",\"app\":\"<exact name from APPS>\","
    "\"project\":\"<exact name from PROJECTS>\",\"editor\":\"<exact name from EDITORS>\"}\n"
    "Rules: open_app = user wants to open/launch an app. open_project = user wants to open a "
    "project/repo, optionally in an editor. none = it's a question or chit-chat, not a launch "
    "request. Use only exact names from the lists.\n"
    "APPS: "_s;

constexpr QLatin1StringView httpErrorAdvice(". Check endpoint, key, and model name.");

} // namespace

std::optional<QUrl> endpoint(const QString &baseURL, QLatin1StringView path) {
    QStringView base = baseURL;
    while (base.startsWith(u'/'))
        base = base.sliced(1);
    while (base.endsWith(u'/'))
        base.chop(1);
    const QUrl url(base.toString() + path, QUrl::TolerantMode);
    if (!url.isValid())
        return std::nullopt;
    return url;
}

QString trimmedKey(const QString &key) {
    return key.trimmed();
}

bool canBeSent(const QString &key) {
    return std::ranges::none_of(key, [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
               c == QChar::ParagraphSeparator;
    });
}

std::optional<QByteArray> authorization(const QString &key) {
    if (!canBeSent(key))
        return std::nullopt;
    QByteArray text = key.toUtf8();
    QByteArray result = "Bearer " + text;
    wipe(text);
    return result;
}

QString placeholderKey() {
    return u"no-key-needed"_s;
}

QByteArray answerBody(const QString &model, const QString &instruction, const QString &prompt,
                      const std::vector<Turn> &before) {
    return encoded({{u"model"_s, model},
                    {u"stream"_s, true},
                    {u"messages"_s, messages(instruction, prompt, before)}});
}

QByteArray testBody(const QString &model) {
    return encoded({{u"model"_s, model},
                    {u"stream"_s, true},
                    {u"messages"_s, QJsonArray{messageOf(u"user"_s, u"Say OK."_s)}}});
}

QByteArray intentBody(const QString &model, const QString &query, const QStringList &apps,
                      const QStringList &projects, const QStringList &editors) {
    const QString instruction = intentInstruction + apps.join(", "_L1) + u"\nPROJECTS: "_s +
                                projects.join(", "_L1) + u"\nEDITORS: "_s + editors.join(", "_L1);
    return encoded({{u"model"_s, model},
                    {u"messages"_s, messages(instruction, query)},
                    {u"max_tokens"_s, 150},
                    {u"temperature"_s, 0}});
}

std::optional<QString> content(QByteArrayView bytes, QLatin1StringView part) {
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromRawData(bytes.data(), bytes.size()));
    const QJsonArray choices = document.object().value("choices"_L1).toArray();
    const bool objects = std::all_of(choices.begin(), choices.end(),
                                     [](const QJsonValue &choice) { return choice.isObject(); });
    if (choices.isEmpty() || !objects)
        return std::nullopt;
    return json::text(choices.first()[part]["content"_L1]);
}

std::optional<Intent> intentFromReply(const QByteArray &body) {
    const std::optional<QString> text = content(body, "message"_L1);
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

std::optional<QStringList> modelNames(const QByteArray &body) {
    constexpr qsizetype most = 2000;
    constexpr qsizetype longest = 200;
    const QJsonValue list = QJsonDocument::fromJson(body).object().value("data"_L1);
    if (!list.isArray())
        return std::nullopt;
    QStringList names;
    const QJsonArray models = list.toArray();
    for (const QJsonValue model : models) {
        const QString name = model["id"_L1].toString();
        if (!name.isEmpty() && name.size() <= longest && names.size() < most &&
            displayLine(name) == name)
            names.append(name);
    }
    names.sort(Qt::CaseInsensitive);
    return names;
}

QString lockedText() {
    return u"The keyring is locked, so the API key in it cannot be read.\n\n"
           "Ask again and unlock the keyring when the desktop asks for its password. Where the "
           "desktop does not ask, unlock it in its program for passwords and keys."_s;
}

QString unsendableKeyText() {
    return u"The API key holds a control character, such as a line break or a tab, which cannot be "
           "sent. Copy the key again and enter it anew."_s;
}

QString noKeyText() {
    return u"No API key set. Open Settings and add your OpenAI-compatible API key.\n\n"
           "Works with: OpenAI, OpenRouter, Ollama (http://localhost:11434/v1), LM Studio, Groq."_s;
}

QString httpErrorText(int status, const QString &baseURL) {
    return u"HTTP "_s + QString::number(status) + u" from "_s + baseURL + httpErrorAdvice;
}

bool isFailureText(const QString &text) {
    return text == noKeyText() || text == lockedText() ||
           (text.startsWith("HTTP "_L1) && text.endsWith(httpErrorAdvice));
}

} // namespace corvid::chat
