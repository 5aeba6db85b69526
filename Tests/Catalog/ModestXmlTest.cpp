#include "Catalog/ModestXml.h"

#include <QString>

#include <gtest/gtest.h>

using namespace corvid;

namespace {

/** So many pieces that each hold their number in place of "%". */
QByteArray numbered(const QByteArray &piece, int count) {
    QByteArray all;
    for (int i = 0; i < count; ++i)
        all += QByteArray(piece).replace("%", QByteArray::number(i));
    return all;
}

} // namespace

TEST(ModestXml, whatPeopleMakeIsModest) {
    EXPECT_TRUE(isModestXml("<plist version='1.0'><dict><key>a</key><true/></dict></plist>"));
    EXPECT_TRUE(isModestXml("<p " + numbered("a%='' ", 200) + "/>"));
    EXPECT_TRUE(isModestXml("<!DOCTYPE p [" + numbered("<!ENTITY e% 'x'>", 200) + "]><p>&e1;</p>"));
    EXPECT_TRUE(isModestXml("<p>" + numbered("<q a='%' b='%'/>", 100'000) + "</p>"));
    EXPECT_TRUE(isModestXml("<p>" + QByteArray(10'000'000, 'x') + "</p>"));
    EXPECT_TRUE(isModestXml("<p>" + QByteArray("key = value\n").repeated(4'000) + "</p>"));
    EXPECT_TRUE(isModestXml("<p><q a='" + QByteArray(10'000'000, 'x') + "'/></p>"));
}

TEST(ModestXml, whatIsNotSoundIsModestBecauseItIsNotReadOn) {
    EXPECT_TRUE(isModestXml(""));
    EXPECT_TRUE(isModestXml("no markup"));
    EXPECT_TRUE(isModestXml("<p"));
    EXPECT_TRUE(isModestXml("<p></q>" + QByteArray("<p>").repeated(1000)));
}

TEST(ModestXml, thousandsOfAttributesOfOneElementAreNot) {
    EXPECT_FALSE(isModestXml("<p " + numbered("a%='' ", 300) + "/>"));
    EXPECT_FALSE(isModestXml("<p " + numbered("a%='' ", 1'000'000) + "/>"));
    EXPECT_FALSE(isModestXml("<p><q " + numbered("a%='' ", 1'000'000) + "/></p>"));
}

TEST(ModestXml, behindAPrefixWithoutANamespaceEither) {
    // Some readers take it for a mistake and read no further, others go on.
    EXPECT_FALSE(isModestXml("<p><x:q/><r " + numbered("a%='' ", 1'000'000) + "/></p>"));
}

TEST(ModestXml, inAnyEncoding) {
    const QString text = QString::fromLatin1("<p " + numbered("a%='' ", 1'000'000) + "/>");
    QByteArray bytes("\xff\xfe");
    for (const QChar c : text)
        bytes.append(static_cast<char>(c.unicode() & 0xFF)).append(static_cast<char>(c.row()));
    EXPECT_FALSE(isModestXml(bytes));
}

TEST(ModestXml, thousandsOfNamespacesOrDeclarationsAreNot) {
    EXPECT_FALSE(isModestXml("<p " + numbered("xmlns:a%='u' ", 300) + "/>"));
    EXPECT_FALSE(
        isModestXml("<p>" + numbered("<q xmlns:a%='u'>", 300) + numbered("</q>", 300) + "</p>"));
    EXPECT_FALSE(
        isModestXml("<!DOCTYPE p [" + numbered("<!ATTLIST p a% CDATA 'x'>", 100'000) + "]><p/>"));
}

TEST(ModestXml, nestingWithoutEndIsNot) {
    EXPECT_TRUE(isModestXml(numbered("<p>", 500)));
    EXPECT_FALSE(isModestXml(numbered("<p>", 600)));
}
