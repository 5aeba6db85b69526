#include "Catalog/PropertyList.h"

#include "Base/RegularFile.h"
#include "Catalog/ModestXml.h"

#include <QXmlStreamReader>
#include <QtEndian>

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

using Strings = QHash<QString, QString>;

bool isValueElement(QStringView name) {
    constexpr std::array names = {"string"_L1, "integer"_L1, "real"_L1,  "true"_L1, "false"_L1,
                                  "date"_L1,   "data"_L1,    "array"_L1, "dict"_L1};
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::optional<Strings> decodeXml(const QByteArray &bytes) {
    if (!isModestXml(bytes))
        return std::nullopt;
    QXmlStreamReader xml(bytes);
    if (!xml.readNextStartElement() || xml.name() != "plist"_L1 || !xml.readNextStartElement() ||
        xml.name() != "dict"_L1)
        return std::nullopt;
    Strings strings;
    while (xml.readNextStartElement()) {
        if (xml.name() != "key"_L1)
            return std::nullopt;
        const QString key = xml.readElementText();
        if (!xml.readNextStartElement() || !isValueElement(xml.name()))
            return std::nullopt;
        if (xml.name() == "string"_L1) {
            strings.insert(key, xml.readElementText());
        } else {
            strings.remove(key);
            xml.skipCurrentElement();
        }
    }
    if (xml.readNextStartElement()) // beside the dictionary
        return std::nullopt;
    while (!xml.atEnd())
        xml.readNext();
    return xml.hasError() ? std::nullopt : std::optional(strings);
}

constexpr QByteArrayView binaryMagic = "bplist00";

/**
 * The binary form: the objects, a table of their offsets, a trailer that tells where the table is.
 * What reaches beyond its part of the bytes makes the list unsound and is read as 0 or empty.
 */
class BinaryList {
public:
    explicit BinaryList(QByteArrayView bytes) {
        constexpr qsizetype trailerSize = 32;
        const QByteArrayView trailer = bytes.last(std::min(bytes.size(), trailerSize));
        const QByteArrayView rest = bytes.chopped(trailer.size());
        offsetWidth_ = number(trailer, 6, 1);
        referenceWidth_ = number(trailer, 7, 1);
        const quint64 count = number(trailer, 8, 8);
        top_ = number(trailer, 16, 8);
        const quint64 table = number(trailer, 24, 8);
        const auto isWidth = [](quint64 width) { return width >= 1 && width <= 8; };
        isSound_ = isSound_ && isWidth(offsetWidth_) && isWidth(referenceWidth_);
        if (isSound_ && fits(rest, table, count, offsetWidth_)) {
            objects_ = rest.first(static_cast<qsizetype>(table));
            table_ = rest.sliced(objects_.size(), static_cast<qsizetype>(count * offsetWidth_));
        }
    }

    /** The top-level dictionary's strings. */
    std::optional<Strings> strings() {
        if (!isSound_)
            return std::nullopt;
        const Object dictionary = object(top_);
        if (dictionary.kind != Dictionary || !isSound_ ||
            !fits(objects_, dictionary.content, dictionary.count, 2 * referenceWidth_))
            return std::nullopt;
        Strings strings;
        // First all references to keys, then all to values.
        const quint64 keysSize = dictionary.count * referenceWidth_;
        for (quint64 at = dictionary.content; at < dictionary.content + keysSize;
             at += referenceWidth_) {
            const auto key = string(number(objects_, at, referenceWidth_));
            const auto value = string(number(objects_, at + keysSize, referenceWidth_));
            if (!key || !isSound_)
                return std::nullopt;
            if (value)
                strings.insert(*key, *value);
            else
                strings.remove(*key);
        }
        return strings;
    }

private:
    enum Kind { Integer = 0x1, AsciiString = 0x5, Utf16String = 0x6, Dictionary = 0xD };

    /** An object's first byte and count, and where its content begins. */
    struct Object {
        quint64 kind;
        quint64 count;
        quint64 content;
    };

    // Whether so many pieces of one width lie at a position.
    bool fits(QByteArrayView part, quint64 position, quint64 count, quint64 width) {
        const auto size = static_cast<quint64>(part.size());
        const bool fit = position <= size && count <= (size - position) / width;
        isSound_ = isSound_ && fit;
        return fit;
    }

    /** A big-endian number of up to 8 bytes. */
    quint64 number(QByteArrayView part, quint64 position, quint64 width) {
        if (!fits(part, position, 1, width))
            return 0;
        quint64 value = 0;
        for (const char byte :
             part.sliced(static_cast<qsizetype>(position), static_cast<qsizetype>(width)))
            value = value << 8 | static_cast<unsigned char>(byte);
        return value;
    }

    Object object(quint64 reference) {
        if (!fits(table_, 0, reference, offsetWidth_))
            return {};
        const quint64 offset = number(table_, reference * offsetWidth_, offsetWidth_);
        const quint64 marker = number(objects_, offset, 1);
        Object object{marker >> 4, marker & 0xF, offset + 1};
        if (object.kind < AsciiString || object.count != 0xF)
            return object;
        // A count of 15 and more follows as an integer object of 1, 2, 4 or 8 bytes.
        const quint64 integer = number(objects_, object.content, 1);
        const quint64 width = quint64{1} << (integer & 0xF);
        isSound_ = isSound_ && integer >> 4 == Integer && width <= 8;
        if (!isSound_)
            return {};
        object.count = number(objects_, object.content + 1, width);
        object.content += 1 + width;
        return object;
    }

    /** Absent when the object is no string. */
    std::optional<QString> string(quint64 reference) {
        const Object found = object(reference);
        if (found.kind != AsciiString && found.kind != Utf16String)
            return std::nullopt;
        const quint64 width = found.kind == AsciiString ? 1 : 2;
        isSound_ = isSound_ && found.count <= charactersLeft_;
        if (!isSound_ || !fits(objects_, found.content, found.count, width))
            return std::nullopt;
        charactersLeft_ -= found.count;
        const auto length = static_cast<qsizetype>(found.count);
        const QByteArrayView bytes = objects_.sliced(static_cast<qsizetype>(found.content),
                                                     static_cast<qsizetype>(found.count * width));
        if (found.kind == AsciiString) {
            isSound_ =
                std::all_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) == 0; });
            return QString::fromLatin1(bytes);
        }
        QString text(length, Qt::Uninitialized);
        qFromBigEndian<quint16>(bytes.data(), length, text.data());
        return text;
    }

    bool isSound_ = true;
    QByteArrayView objects_; ///< and the magic number before them, where offsets begin
    QByteArrayView table_;
    quint64 offsetWidth_;
    quint64 referenceWidth_;
    quint64 top_;
    // Strings may be shared, but those of a list that is made to fill memory overlap.
    quint64 charactersLeft_ = 16 * 1024 * 1024;
};

} // namespace

std::optional<Strings> decodePropertyList(const QByteArray &bytes) {
    return bytes.startsWith(binaryMagic) ? BinaryList(bytes).strings() : decodeXml(bytes);
}

Strings bundleProperties(const QString &bundlePath) {
    constexpr qint64 largest = 16 * 1024 * 1024;
    const auto bytes = readRegularFile(bundlePath + "/Contents/Info.plist"_L1, largest);
    return decodePropertyList(bytes.value_or(QByteArray())).value_or(Strings());
}

} // namespace corvid
