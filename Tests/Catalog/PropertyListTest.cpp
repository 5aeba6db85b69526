#include "Catalog/PropertyList.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

#include <random>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

using Strings = QHash<QString, QString>;

// One dictionary with every kind of value, written by another implementation in both forms.
const QByteArray binary = QByteArray::fromHex(
    "62706c6973743030dc0102030405060708090a0b0c0d0e0f10111213141516181a5f101243464275"
    "6e646c654964656e7469666965725c434642756e646c654e616d6555436f756e7453426967555261"
    "74696f53596573545768656e54426c6f6255456d707479564e6573746564544c6973745f10194c53"
    "4170706c69636174696f6e43617465676f7279547970655f1012636f6d2e6578616d706c652e6564"
    "69746f726e00c90064006900740069006f006e002065e5672c8a9e0020d83dde0010071300000100"
    "00000000233fe0000000000000093341c5a1c4c00000004c434642756e646c654e616d6550d20102"
    "1717566e6573746564a2011951785f10237075626c69632e6170702d63617465676f72792e646576"
    "656c6f7065722d746f6f6c7300080021003600430049004d00530057005c00610067006e0073008f"
    "00a400c100c300cc00d500d600df00ec00ed00f200f900fc00fe0000000000000201000000000000"
    "001b00000000000000000000000000000124");
const QByteArray xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>CFBundleIdentifier</key>
	<string>com.example.editor</string>
	<key>CFBundleName</key>
	<string>Édition 日本語 😀</string>
	<key>Count</key>
	<integer>7</integer>
	<key>Big</key>
	<integer>1099511627776</integer>
	<key>Ratio</key>
	<real>0.5</real>
	<key>Yes</key>
	<true/>
	<key>When</key>
	<date>2024-01-02T00:00:00Z</date>
	<key>Blob</key>
	<data>
	Q0ZCdW5kbGVOYW1l
	</data>
	<key>Empty</key>
	<string></string>
	<key>Nested</key>
	<dict>
		<key>CFBundleIdentifier</key>
		<string>nested</string>
		<key>CFBundleName</key>
		<string>nested</string>
	</dict>
	<key>List</key>
	<array>
		<string>CFBundleIdentifier</string>
		<string>x</string>
	</array>
	<key>LSApplicationCategoryType</key>
	<string>public.app-category.developer-tools</string>
</dict>
</plist>
)";
const Strings expected = {
    {u"CFBundleIdentifier"_s, u"com.example.editor"_s},
    {u"CFBundleName"_s, u"Édition 日本語 😀"_s},
    {u"Empty"_s, u""_s},
    {u"LSApplicationCategoryType"_s, u"public.app-category.developer-tools"_s},
};

QByteArray xmlWith(const QByteArray &content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content +
           "</plist>";
}

QByteArray bigEndian(quint64 value, int width) {
    QByteArray bytes;
    for (int i = width - 1; i >= 0; --i)
        bytes.append(static_cast<char>(value >> (8 * i)));
    return bytes;
}

// A binary list of the given encoded objects, the first of which is the top one.
QByteArray binaryWith(const QList<QByteArray> &objects, int referenceWidth = 1) {
    constexpr int offsetWidth = 4;
    QByteArray bytes = "bplist00";
    QByteArray offsets;
    for (const QByteArray &object : objects) {
        offsets += bigEndian(static_cast<quint64>(bytes.size()), offsetWidth);
        bytes += object;
    }
    const auto table = static_cast<quint64>(bytes.size());
    return bytes + offsets + QByteArray(6, '\0') + char(offsetWidth) + char(referenceWidth) +
           bigEndian(static_cast<quint64>(objects.size()), 8) + bigEndian(0, 8) +
           bigEndian(table, 8);
}

} // namespace

TEST(PropertyList, theXmlFormYieldsTheTopLevelStrings) {
    EXPECT_EQ(decodePropertyList(xml), expected);
}

TEST(PropertyList, theBinaryFormYieldsTheTopLevelStrings) {
    EXPECT_EQ(decodePropertyList(binary), expected);
}

TEST(PropertyList, anEmptyDictionaryIsADictionary) {
    EXPECT_EQ(decodePropertyList(xmlWith("<dict/>")), Strings());
    EXPECT_EQ(decodePropertyList(binaryWith({"\xD0"})), Strings());
}

TEST(PropertyList, whatIsNoDictionaryYieldsNothing) {
    for (const char *content : {"<array><dict/></array>", "<string>x</string>", "", "text"})
        EXPECT_EQ(decodePropertyList(xmlWith(content)), std::nullopt) << content;
    EXPECT_EQ(decodePropertyList(binaryWith({"\x51x"})), std::nullopt);
    EXPECT_EQ(decodePropertyList(binaryWith({"\xA0"})), std::nullopt);
}

TEST(PropertyList, bytesOfNeitherFormYieldNothing) {
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("bplist"), QByteArray("bplist00"), QByteArray("{a = b;}"),
          QByteArray("<html/>"), QByteArray("\0\0\0\0", 4), QByteArray(100, '\xff')})
        EXPECT_EQ(decodePropertyList(bytes), std::nullopt) << bytes.constData();
}

TEST(PropertyListXml, commentsSectionsEntitiesAndReferencesAreRead) {
    EXPECT_EQ(decodePropertyList(
                  "<?xml version=\"1.0\"?><!-- a -->\n<!DOCTYPE plist [<!ENTITY who \"World\">]>"
                  "<plist><!-- b --><dict><!-- c --><key>a<!-- d -->b</key><!-- e -->"
                  "<string>x<![CDATA[<&>]]>&amp;&#233;&who;</string></dict></plist><!-- f -->"),
              (Strings{{u"ab"_s, u"x<&>&éWorld"_s}}));
}

TEST(PropertyListXml, everyUnicodeEncodingIsRead) {
    const QString text =
        u"<plist><dict><key>n</key><string>Édition 日本語</string></dict></plist>"_s;
    const Strings strings = {{u"n"_s, u"Édition 日本語"_s}};
    EXPECT_EQ(decodePropertyList(text.toUtf8()), strings);
    for (const auto encoding :
         {QStringConverter::Utf8, QStringConverter::Utf16LE, QStringConverter::Utf16BE}) {
        QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
        const QByteArray bytes = encoder(text);
        EXPECT_EQ(decodePropertyList(bytes), strings)
            << QStringConverter::nameForEncoding(encoding);
    }
}

TEST(PropertyListXml, spaceInStringsIsKept) {
    EXPECT_EQ(decodePropertyList(xmlWith("<dict><key>a</key><string> x\n</string></dict>")),
              (Strings{{u"a"_s, u" x\n"_s}}));
}

TEST(PropertyListXml, valuesOfNestedContainersAreNotTopLevelValues) {
    EXPECT_EQ(decodePropertyList(
                  xmlWith("<dict><key>a</key><dict><key>b</key><string>inner</string>"
                          "<key>c</key><array><dict><key>a</key><string>deep</string></dict>"
                          "</array></dict><key>b</key><string>outer</string></dict>")),
              (Strings{{u"b"_s, u"outer"_s}}));
}

TEST(PropertyListXml, theLastOfRepeatedKeysCounts) {
    EXPECT_EQ(decodePropertyList(xmlWith("<dict><key>a</key><string>1</string>"
                                         "<key>a</key><string>2</string></dict>")),
              (Strings{{u"a"_s, u"2"_s}}));
    EXPECT_EQ(decodePropertyList(xmlWith("<dict><key>a</key><string>1</string>"
                                         "<key>a</key><true/></dict>")),
              Strings());
}

TEST(PropertyListXml, aDamagedDocumentYieldsNothing) {
    const QByteArray dictionary = "<dict><key>a</key><string>x</string></dict>";
    ASSERT_TRUE(decodePropertyList(xmlWith(dictionary)));
    for (const QByteArray &bytes :
         {xmlWith("<dict><key>a</key></dict>"), xmlWith("<dict><string>x</string></dict>"),
          xmlWith("<dict><key>a</key><key>b</key></dict>"),
          xmlWith("<dict><key>a</key><thing/></dict>"),
          xmlWith("<dict><key>a<b/></key><string>x</string></dict>"),
          xmlWith("<dict><key>a</key><string>x<b/></string></dict>"),
          xmlWith("<dict><key>a</key><string>&missing;</string></dict>"),
          xmlWith("<dict><key>a</key><string>x</dict>"), xmlWith(dictionary + dictionary),
          xmlWith(dictionary) + "rest", xmlWith(dictionary).chopped(1), dictionary})
        EXPECT_EQ(decodePropertyList(bytes), std::nullopt) << bytes.constData();
}

TEST(PropertyListXml, deepNestingIsRejected) {
    const auto nested = [](int depth) {
        return xmlWith("<dict><key>a</key>" + QByteArray("<array>").repeated(depth) +
                       QByteArray("</array>").repeated(depth) + "</dict>");
    };
    EXPECT_EQ(decodePropertyList(nested(500)), Strings());
    EXPECT_EQ(decodePropertyList(nested(1'000'000)), std::nullopt);
}

TEST(PropertyListXml, entitiesThatMultiplyAreRejected) {
    QByteArray entities = "<!ENTITY e0 \"xxxxxxxxxx\">";
    for (int i = 1; i < 30; ++i) {
        const QByteArray inner = "&e" + QByteArray::number(i - 1) + ";";
        entities += "<!ENTITY e" + QByteArray::number(i) + " \"" + inner.repeated(10) + "\">";
    }
    EXPECT_EQ(
        decodePropertyList("<!DOCTYPE plist [" + entities +
                           "]><plist><dict><key>a</key><string>&e29;</string></dict></plist>"),
        std::nullopt);
}

TEST(PropertyListBinary, countsOfFifteenAndMoreFollowAsIntegers) {
    constexpr int keys = 300;
    QByteArray dictionary = "\xDF\x11" + bigEndian(keys, 2);
    for (quint64 i = 0; i < 2 * keys; ++i)
        dictionary += bigEndian(i + 1, 2);
    QList<QByteArray> objects{dictionary};
    for (int i = 0; i < keys; ++i)
        objects += "\x53" + QByteArray::number(100 + i);
    const QByteArray longText(70'000, 'x');
    for (int i = 0; i < keys - 1; ++i)
        objects += "\x5F\x10\x10" + QByteArray(16, 'y');
    objects += "\x5F\x12" + bigEndian(70'000, 4) + longText;
    const auto strings = decodePropertyList(binaryWith(objects, 2));
    ASSERT_TRUE(strings);
    EXPECT_EQ(strings->size(), keys);
    EXPECT_EQ(strings->value(u"100"_s), QString(16, u'y'));
    EXPECT_EQ(strings->value(u"399"_s), QString::fromLatin1(longText));
}

TEST(PropertyListBinary, oneStringMayStandForManyValues) {
    QByteArray dictionary = "\xDF\x10\x40";
    for (char i = 0; i < 0x40; ++i)
        dictionary += char(1 + i);
    dictionary += QByteArray(0x40, char(0x41));
    QList<QByteArray> objects{dictionary};
    for (char i = 0; i < 0x40; ++i)
        objects += QByteArray("\x51") + char('0' + i);
    objects += "\x5F\x11" + bigEndian(1000, 2) + QByteArray(1000, 'v');
    const auto strings = decodePropertyList(binaryWith(objects));
    ASSERT_TRUE(strings);
    EXPECT_EQ(strings->size(), 0x40);
    EXPECT_EQ(strings->value(u"0"_s), QString(1000, u'v'));
}

TEST(PropertyListBinary, stringsThatOverlapToFillMemoryAreRejected) {
    // Each object is the head of a string that swallows all later ones.
    constexpr quint64 count = 20'000;
    constexpr quint64 headSize = 6;
    QByteArray dictionary = "\xDF\x12" + bigEndian(count, 4);
    QList<QByteArray> objects;
    for (quint64 i = 0; i < 2 * count; ++i)
        dictionary += bigEndian(i % count + 1, 4);
    objects += dictionary;
    for (quint64 i = 0; i < count; ++i)
        objects += "\x5F\x12" + bigEndian((count - i - 1) * headSize, 4);
    EXPECT_EQ(decodePropertyList(binaryWith(objects, 4)), std::nullopt);
}

TEST(PropertyListBinary, theLastOfRepeatedKeysCounts) {
    EXPECT_EQ(decodePropertyList(binaryWith(
                  {"\xD2\x01\x01\x02\x03"_ba, "\x51"_ba + "a", "\x51"_ba + "1", "\x51"_ba + "2"})),
              (Strings{{u"a"_s, u"2"_s}}));
    EXPECT_EQ(decodePropertyList(binaryWith(
                  {"\xD2\x01\x01\x02\x03"_ba, "\x51"_ba + "a", "\x51"_ba + "1", "\x09"})),
              Strings());
}

TEST(PropertyListBinary, damagedObjectsYieldNothing) {
    const QList<QByteArray> sound = {"\xD1\x01\x02"_ba, "\x51"_ba + "a", "\x51"_ba + "b"};
    ASSERT_EQ(decodePropertyList(binaryWith(sound)), (Strings{{u"a"_s, u"b"_s}}));
    const auto with = [&sound](int index, const QByteArray &object) {
        QList<QByteArray> objects = sound;
        objects[index] = object;
        return decodePropertyList(binaryWith(objects));
    };
    EXPECT_EQ(with(0, "\xD1\x01\x03"_ba), std::nullopt) << "reference out of range";
    EXPECT_EQ(with(0, "\xDE\x01\x02"_ba), std::nullopt) << "more entries than bytes";
    EXPECT_EQ(with(0, "\xDF\x13\x80"_ba + QByteArray(7, '\0')), std::nullopt) << "count 2^63";
    EXPECT_EQ(with(0, "\xDF\x14"_ba + QByteArray(16, '\0')), std::nullopt) << "count of 16 bytes";
    EXPECT_EQ(with(0, "\xDF\x51"_ba), std::nullopt) << "count that is no integer";
    EXPECT_EQ(with(1, "\x09"_ba), std::nullopt) << "key that is no string";
    EXPECT_EQ(with(2, "\x52"_ba + "b"), std::nullopt) << "string beyond the objects";
    EXPECT_EQ(with(2, "\x61"_ba + "b"), std::nullopt) << "half a character";
    EXPECT_EQ(with(2, "\x51\x80"_ba), std::nullopt) << "not ASCII";
    EXPECT_EQ(with(2, "\x5F\x13"_ba + QByteArray(8, '\xff')), std::nullopt) << "count 2^64 - 1";
}

TEST(PropertyListBinary, everyTruncationYieldsNothing) {
    for (qsizetype size = 0; size < binary.size(); ++size)
        EXPECT_EQ(decodePropertyList(binary.first(size)), std::nullopt) << size;
}

TEST(PropertyListXml, everyTruncationYieldsNothing) {
    const QByteArray document = xml.trimmed();
    for (qsizetype size = 0; size < document.size(); ++size)
        EXPECT_EQ(decodePropertyList(document.first(size)), std::nullopt) << size;
}

namespace {

// Changes up to four bytes each time; the results must not be longer than what they were read from.
void survivesMutations(const QByteArray &original, int rounds, qsizetype expansion) {
    std::mt19937 random(20240607);
    const auto below = [&random](qsizetype limit) {
        return static_cast<qsizetype>(random() % static_cast<quint64>(limit));
    };
    int readable = 0;
    for (int round = 0; round < rounds; ++round) {
        QByteArray bytes = original;
        for (auto changes = below(4); changes >= 0; --changes) {
            // Half of the changes hit the trailer of the binary form, where all counts are.
            const auto from = below(2) ? 0 : bytes.size() - 32;
            bytes[from + below(bytes.size() - from)] = static_cast<char>(random());
        }
        const auto strings = decodePropertyList(bytes);
        if (!strings)
            continue;
        ++readable;
        for (auto entry = strings->begin(); entry != strings->end(); ++entry)
            ASSERT_LE(entry.key().size() + entry.value().size(), expansion);
    }
    EXPECT_GT(readable, 0);
    EXPECT_LT(readable, rounds);
}

} // namespace

TEST(PropertyListBinary, survivesRandomChanges) {
    survivesMutations(binary, 100'000, binary.size());
}

TEST(PropertyListXml, megabytesOfAttributesAreNoPropertyList) {
    // The XML reader compares each with each: this would take it hours.
    QByteArray attributes;
    for (int i = 0; i < 1'000'000; ++i)
        attributes += " a" + QByteArray::number(i) + "=''";
    EXPECT_EQ(decodePropertyList("<plist><dict" + attributes + "></dict></plist>"), std::nullopt);
}

TEST(PropertyListXml, survivesRandomChanges) {
    survivesMutations(xml, 20'000, xml.size());
}
