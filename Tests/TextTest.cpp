#include "Text.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {
qsizetype characters(const QString &text) {
    return FoldedText(text).view().count();
}
} // namespace

TEST(Text, composedAndDecomposedSpellingsFoldToTheSame) {
    EXPECT_EQ(folded(u"Caf\u00c9"_s), folded(u"cafe\u0301"_s));
}

TEST(Text, lowerCasingIsFullUnicode) {
    EXPECT_EQ(folded(u"ÀÉÎ"_s), u"àéî");
    EXPECT_EQ(folded(u"ß"_s), u"ß");
    EXPECT_EQ(folded(u"İ"_s), u"i\u0307");
}

TEST(Text, aCharacterIsAnExtendedGraphemeCluster) {
    EXPECT_EQ(characters(u"abc"_s), 3);
    EXPECT_EQ(characters(u"日本語"_s), 3);
    EXPECT_EQ(characters(u"x\u0302y"_s), 2);
    EXPECT_EQ(characters(u"\U0001F600"_s), 1);
    EXPECT_EQ(characters(u"\U0001F44D\U0001F3FD"_s), 1) << "emoji with a skin tone";
    EXPECT_EQ(characters(u"a\r\nb"_s), 3);
    EXPECT_EQ(characters(u"İ"_s), 1);
    EXPECT_EQ(characters(QString()), 0);
}

TEST(Text, charactersAreReachedByIndex) {
    const FoldedText text(u"A\U0001F44D\U0001F3FDé"_s);
    ASSERT_EQ(text.view().count(), 3);
    EXPECT_EQ(text.view().at(0), u"a");
    EXPECT_EQ(text.view().at(1), u"\U0001F44D\U0001F3FD");
    EXPECT_EQ(text.view().at(2), u"é");
}

TEST(Text, unpairedSurrogatesAndLongStringsSurvive) {
    EXPECT_EQ(characters(QString(QChar(0xd800)) + u'a'), 2);
    EXPECT_EQ(characters(QString(10'000, u'é')), 10'000);
}
