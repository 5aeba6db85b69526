#include "Base/Json.h"

namespace corvid::json {

namespace {

constexpr QByteArrayView byteOrderMark = "\xef\xbb\xbf";
constexpr QByteArrayView escapedByteOrderMark = "\\ufeff";

bool isShallow(const QByteArray &bytes) {
    int depth = 0;
    bool inText = false;
    for (auto at = bytes.begin(); at != bytes.end(); ++at) {
        if (inText && *at == '\\' && at + 1 != bytes.end())
            ++at;
        else if (*at == '"')
            inText = !inText;
        else if (!inText && (*at == '[' || *at == '{') && ++depth > deepest)
            return false;
        else if (!inText && (*at == ']' || *at == '}'))
            --depth;
    }
    return true;
}

} // namespace

QJsonDocument fromFile(const QByteArray &bytes) {
    if (!isShallow(bytes))
        return {};
    if (!bytes.contains(byteOrderMark))
        return QJsonDocument::fromJson(bytes);
    // Qt drops a byte-order mark also where it begins a text, or a part of one. At the beginning of
    // the file it is no part of the content.
    QByteArray escaped = bytes;
    if (escaped.startsWith(byteOrderMark))
        escaped.remove(0, byteOrderMark.size());
    escaped.replace(byteOrderMark, escapedByteOrderMark);
    return QJsonDocument::fromJson(escaped);
}

QByteArray toFile(const QJsonDocument &document, QJsonDocument::JsonFormat format) {
    return document.toJson(format).replace(byteOrderMark, escapedByteOrderMark);
}

} // namespace corvid::json
