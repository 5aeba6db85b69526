#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

/** Decoding of JSON, all or nothing: a value of another type than the one asked for is absent,
    and so is a whole in which one part is. Pure, any thread. */
namespace corvid::json {

/** How deep arrays and objects may lie in each other in a file of ours. It never needs more than
    four levels; writing a thousand levels with their indentation would fill a disk. */
inline constexpr int deepest = 32;

/** What a file of ours holds; null when it is damaged or nested more than `deepest` levels. A
    byte-order mark before it is no damage, and within a text it is kept. */
QJsonDocument fromFile(const QByteArray &bytes);

/** The bytes of a file that fromFile() reads back as they were. */
QByteArray toFile(const QJsonDocument &document, QJsonDocument::JsonFormat format);

inline std::optional<QString> text(const QJsonValue &value) {
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

/** An array, each element decoded by a function from QJsonValue to an optional. */
template <typename List, typename Decode>
std::optional<List> list(const QJsonValue &value, Decode decode) {
    if (!value.isArray())
        return std::nullopt;
    const QJsonArray array = value.toArray();
    List elements;
    elements.reserve(static_cast<typename List::size_type>(array.size()));
    for (const auto &element : array) {
        auto decoded = decode(element);
        if (!decoded)
            return std::nullopt;
        elements.push_back(*std::move(decoded));
    }
    return elements;
}

inline std::optional<QStringList> texts(const QJsonValue &value) {
    return list<QStringList>(value, text);
}

/** An object as a map, each member decoded by a function from QJsonValue to an optional. */
template <typename Map, typename Decode>
std::optional<Map> map(const QJsonValue &value, Decode decode) {
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    Map members;
    for (auto member = object.begin(); member != object.end(); ++member) {
        auto decoded = decode(member.value());
        if (!decoded)
            return std::nullopt;
        members[member.key()] = *std::move(decoded);
    }
    return members;
}

} // namespace corvid::json
