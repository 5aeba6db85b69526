// Whatever strings are read from a property list, XML or binary, are read again from a binary list
// that is made of them; and they are no more than what the bytes can hold.
#include "Catalog/PropertyList.h"
#include "FuzzInput.h"

using namespace corvid;
using fuzz::require;

namespace {

using Strings = QHash<QString, QString>;

void appendNumber(QByteArray &bytes, quint64 number, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes.append(static_cast<char>(number >> shift & 0xFF));
}

/** A dictionary of UTF-16 strings, with the widest counts and references. */
QByteArray binaryListOf(const Strings &strings) {
    QByteArray bytes = "bplist00";
    QList<quint64> offsets;
    const auto appendObject = [&](int kind, qsizetype count) {
        offsets.append(static_cast<quint64>(bytes.size()));
        bytes.append(static_cast<char>(kind << 4 | 0xF));
        bytes.append('\x13'); // an integer of eight bytes
        appendNumber(bytes, static_cast<quint64>(count), 8);
    };
    const auto appendString = [&](const QString &text) {
        appendObject(0x6, text.size());
        for (const QChar unit : text)
            appendNumber(bytes, unit.unicode(), 2);
    };
    appendObject(0xD, strings.size());
    for (qsizetype reference = 1; reference <= 2 * strings.size(); ++reference)
        appendNumber(bytes, static_cast<quint64>(reference), 8);
    for (auto entry = strings.begin(); entry != strings.end(); ++entry)
        appendString(entry.key());
    for (auto entry = strings.begin(); entry != strings.end(); ++entry)
        appendString(entry.value());
    const auto table = static_cast<quint64>(bytes.size());
    for (const quint64 offset : offsets)
        appendNumber(bytes, offset, 8);
    bytes.append(QByteArray(6, '\0') + "\x08\x08");
    appendNumber(bytes, static_cast<quint64>(offsets.size()), 8);
    appendNumber(bytes, 0, 8);
    appendNumber(bytes, table, 8);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const std::optional<Strings> strings = decodePropertyList(bytes);
    if (!strings)
        return 0;
    require(decodePropertyList(binaryListOf(*strings)) == strings, "read back as written");
    if (bytes.startsWith("bplist00")) {
        // A key stands for at least two references and one marker somewhere in the list.
        require(strings->size() <= bytes.size() / 2, "no more entries than the bytes hold");
        for (auto entry = strings->begin(); entry != strings->end(); ++entry)
            require(entry.key().size() < bytes.size() && entry.value().size() < bytes.size(),
                    "no text is longer than the list");
    }
    return 0;
}
