#include "Catalog/PropertyList.h"

#include "Catalog/ModestXml.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

using Strings = QHash<QString, QString>;

// ---- XML ----

// Skips the element that the reader stands at. Not QXmlStreamReader::skipCurrentElement(): it
// follows any nesting, and each level costs memory.
bool skipElement(QXmlStreamReader &xml) {
    constexpr int deepestNesting = 512;
    for (int depth = 1; depth > 0;) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (++depth > deepestNesting)
                return false;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::Invalid:
            return false;
        default:
            break;
        }
    }
    return true;
}

bool isValueElement(QStringView name) {
    constexpr std::array names = {"string"_L1, "integer"_L1, "real"_L1,  "true"_L1, "false"_L1,
                                  "date"_L1,   "data"_L1,    "array"_L1, "dict"_L1};
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Reads up to the end of the dictionary that the reader stands at.
std::optional<Strings> readDictionary(QXmlStreamReader &xml) {
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
            if (!skipElement(xml))
                return std::nullopt;
        }
    }
    return strings;
}

std::optional<Strings> decodeXml(const QByteArray &bytes) {
    if (!isModestXml(bytes))
        return std::nullopt;
    QXmlStreamReader xml(bytes);
    if (!xml.readNextStartElement() || xml.name() != "plist"_L1)
        return std::nullopt;
    if (!xml.readNextStartElement() || xml.name() != "dict"_L1)
        return std::nullopt;
    std::optional<Strings> strings = readDictionary(xml);
    if (!strings || xml.readNextStartElement())
        return std::nullopt;
    while (!xml.atEnd())
        xml.readNext();
    if (xml.hasError())
        return std::nullopt;
    return strings;
}

// ---- Binary: a header, the objects, a table of their offsets, a trailer that finds the table ----

constexpr QByteArrayView binaryMagic = "bplist00";

class BinaryList {
public:
    static std::optional<BinaryList> open(QByteArrayView bytes);

    /** The top-level dictionary's strings. */
    std::optional<Strings> strings();

private:
    enum Kind : unsigned {
        Integer = 0x1,
        AsciiString = 0x5,
        Utf16String = 0x6,
        Dictionary = 0xD,
    };

    /** An object's first byte and count, and where its content begins. */
    struct Object {
        unsigned kind;
        quint64 count;
        quint64 content;
    };

    // Big-endian. The caller has made sure that the bytes are there; width is 1 to 8.
    quint64 number(quint64 position, unsigned width) const {
        quint64 value = 0;
        for (unsigned i = 0; i < width; ++i)
            value = value << 8 | byte(position + i);
        return value;
    }
    quint64 byte(quint64 position) const {
        return static_cast<unsigned char>(bytes_[static_cast<qsizetype>(position)]);
    }
    // Whether `count` pieces of `size` bytes lie between a position and the end of the objects.
    bool fits(quint64 position, quint64 count, unsigned size) const {
        return position <= objectsEnd_ && count <= (objectsEnd_ - position) / size;
    }

    std::optional<quint64> offsetOf(quint64 reference) const;
    std::optional<Object> objectAt(quint64 offset) const;
    std::optional<QString> keyAt(quint64 reference);
    /** Null when the object is no string. Absent when it is damaged. */
    std::optional<std::optional<QString>> valueAt(quint64 reference);
    std::optional<QString> text(const Object &object, quint64 offset);

    QByteArrayView bytes_;
    quint64 objectsEnd_ = 0; // also where the offset table begins
    quint64 objectCount_ = 0;
    quint64 top_ = 0;
    unsigned offsetWidth_ = 0;
    unsigned referenceWidth_ = 0;
    QHash<quint64, QString> texts_; // by offset: equal strings are stored once and shared
    quint64 textBytesLeft_ = 0;     // strings do not overlap, so together they fit in the list
};

std::optional<BinaryList> BinaryList::open(QByteArrayView bytes) {
    constexpr quint64 trailerSize = 32;
    const auto size = static_cast<quint64>(bytes.size());
    const auto header = static_cast<quint64>(binaryMagic.size());
    if (!bytes.startsWith(binaryMagic) || size < header + trailerSize)
        return std::nullopt;
    BinaryList list;
    list.bytes_ = bytes;
    list.textBytesLeft_ = size;
    const quint64 trailer = size - trailerSize;
    list.offsetWidth_ = static_cast<unsigned>(list.byte(trailer + 6));
    list.referenceWidth_ = static_cast<unsigned>(list.byte(trailer + 7));
    list.objectCount_ = list.number(trailer + 8, 8);
    list.top_ = list.number(trailer + 16, 8);
    list.objectsEnd_ = list.number(trailer + 24, 8);
    const auto isWidth = [](unsigned width) { return width >= 1 && width <= 8; };
    if (!isWidth(list.offsetWidth_) || !isWidth(list.referenceWidth_) ||
        list.objectsEnd_ < header || list.objectsEnd_ > trailer ||
        list.objectCount_ > (trailer - list.objectsEnd_) / list.offsetWidth_)
        return std::nullopt;
    return list;
}

std::optional<quint64> BinaryList::offsetOf(quint64 reference) const {
    if (reference >= objectCount_)
        return std::nullopt;
    const quint64 offset = number(objectsEnd_ + reference * offsetWidth_, offsetWidth_);
    if (offset < static_cast<quint64>(binaryMagic.size()) || offset >= objectsEnd_)
        return std::nullopt;
    return offset;
}

std::optional<BinaryList::Object> BinaryList::objectAt(quint64 offset) const {
    const auto marker = static_cast<unsigned>(byte(offset));
    Object object{marker >> 4, marker & 0xF, offset + 1};
    if (object.kind < AsciiString || object.count != 0xF)
        return object;
    // A count of 15 and more follows as an integer object of 1, 2, 4 or 8 bytes.
    if (!fits(object.content, 1, 1))
        return std::nullopt;
    const auto integer = static_cast<unsigned>(byte(object.content));
    const unsigned width = 1U << (integer & 0xF);
    if (integer >> 4 != Integer || width > 8 || !fits(object.content + 1, width, 1))
        return std::nullopt;
    object.count = number(object.content + 1, width);
    object.content += 1 + width;
    return object;
}

std::optional<QString> BinaryList::text(const Object &object, quint64 offset) {
    const auto known = texts_.constFind(offset);
    if (known != texts_.cend())
        return *known;
    const unsigned width = object.kind == AsciiString ? 1 : 2;
    if (!fits(object.content, object.count, width) || object.count * width > textBytesLeft_)
        return std::nullopt;
    textBytesLeft_ -= object.count * width;
    QString text(static_cast<qsizetype>(object.count), Qt::Uninitialized);
    quint64 position = object.content;
    for (QChar &unit : text) {
        unit = QChar(static_cast<char16_t>(number(position, width)));
        if (width == 1 && unit.unicode() >= 0x80)
            return std::nullopt;
        position += width;
    }
    texts_.insert(offset, text);
    return text;
}

std::optional<std::optional<QString>> BinaryList::valueAt(quint64 reference) {
    const std::optional<quint64> offset = offsetOf(reference);
    if (!offset)
        return std::nullopt;
    const std::optional<Object> object = objectAt(*offset);
    if (!object)
        return std::nullopt;
    if (object->kind != AsciiString && object->kind != Utf16String)
        return std::optional<QString>();
    std::optional<QString> string = text(*object, *offset);
    if (!string)
        return std::nullopt;
    return string;
}

std::optional<QString> BinaryList::keyAt(quint64 reference) {
    return valueAt(reference).value_or(std::nullopt);
}

std::optional<Strings> BinaryList::strings() {
    const std::optional<quint64> offset = offsetOf(top_);
    if (!offset)
        return std::nullopt;
    const std::optional<Object> dictionary = objectAt(*offset);
    if (!dictionary || dictionary->kind != Dictionary ||
        !fits(dictionary->content, dictionary->count, 2 * referenceWidth_))
        return std::nullopt;
    Strings strings;
    // First all references to keys, then all to values.
    quint64 keyPosition = dictionary->content;
    quint64 valuePosition = keyPosition + dictionary->count * referenceWidth_;
    for (quint64 i = 0; i < dictionary->count; ++i) {
        const auto key = keyAt(number(keyPosition, referenceWidth_));
        const auto value = valueAt(number(valuePosition, referenceWidth_));
        if (!key || !value)
            return std::nullopt;
        if (*value)
            strings.insert(*key, **value);
        else
            strings.remove(*key);
        keyPosition += referenceWidth_;
        valuePosition += referenceWidth_;
    }
    return strings;
}

} // namespace

std::optional<Strings> decodePropertyList(const QByteArray &bytes) {
    if (!bytes.startsWith(binaryMagic))
        return decodeXml(bytes);
    std::optional<BinaryList> list = BinaryList::open(bytes);
    return list ? list->strings() : std::nullopt;
}

} // namespace corvid
