#include "Base/Text.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {
qsizetype characters(const QString &text) {
    return FoldedText(text).view().size();
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
    ASSERT_EQ(text.view().size(), 3);
    EXPECT_EQ(text.view().at(0), u"a");
    EXPECT_EQ(text.view().at(1), u"\U0001F44D\U0001F3FD");
    EXPECT_EQ(text.view().at(2), u"é");
}

TEST(Text, unpairedSurrogatesAndLongStringsSurvive) {
    EXPECT_EQ(characters(QString(QChar(0xd800)) + u'a'), 2);
    EXPECT_EQ(characters(QString(10'000, u'é')), 10'000);
}

TEST(Text, aNameEndsBehindTwoHundredFiftySixCharacters) {
    const QString longest(256, u'x');
    EXPECT_EQ(nameFrom(longest), longest);
    EXPECT_EQ(nameFrom(longest + u'x'), longest);
    EXPECT_EQ(nameFrom(QString(1'000'000, u'x')), longest);
    const QString family = u"\U0001F468\u200D\U0001F469"_s; // one character of five units
    const QString accented = u"e\u0301"_s;
    EXPECT_EQ(nameFrom(accented.repeated(256)), accented.repeated(256));
    EXPECT_EQ(nameFrom(accented.repeated(257)), accented.repeated(256));
    EXPECT_EQ(nameFrom(family.repeated(204)), family.repeated(204));
    EXPECT_EQ(nameFrom(family.repeated(205)), family.repeated(204)) << "1,024 units are enough";
}

TEST(Text, aNameThatIsOneEndlessCharacterEndsAsWell) {
    EXPECT_EQ(nameFrom(u'e' + QString(1'000'000, QChar(0x301))),
              u'e' + QString(1'023, QChar(0x301)));
    const QString mark = u"\U000E0100"_s; // two units
    EXPECT_EQ(nameFrom(u'e' + mark.repeated(10'000)), u'e' + mark.repeated(511)) << "no half one";
    const QString halves(2'000, QChar(0xd800));
    EXPECT_EQ(nameFrom(halves), halves.left(256));
}

TEST(Text, aNameOfTheUsualLengthIsNotCopied) {
    const QString name = u"a name"_s;
    EXPECT_EQ(nameFrom(name).constData(), name.constData());
}

TEST(Text, shownTextKeepsLineFeedsAndTabsAndNoOtherControlCharacter) {
    QString controls;
    for (char16_t c = 0; c < 0x20; ++c)
        controls += QChar(c);
    for (char16_t c = 0x7f; c < 0xa0; ++c)
        controls += QChar(c);
    EXPECT_EQ(displayText(controls), u"\t\n");
    EXPECT_EQ(displayText(u"one\r\ntwo\u2028three\u2029four"_s), u"one\ntwo\nthree\nfour");
    EXPECT_EQ(displayText(u"\u001b[31mred"_s), u"[31mred");
}

TEST(Text, shownTextCannotOverrideTheDirectionOfWriting) {
    QString overrides;
    for (char16_t c = 0x202a; c <= 0x202e; ++c)
        overrides += QChar(c);
    for (char16_t c = 0x2066; c <= 0x206f; ++c)
        overrides += QChar(c);
    EXPECT_EQ(displayText(u"a"_s + overrides + u'b'), u"ab");
    EXPECT_EQ(displayText(u"open \u202egnp.exe"_s), u"open gnp.exe");
}

TEST(Text, shownTextHoldsNoMarkersOfTextLayouts) {
    EXPECT_EQ(displayText(u"a\ufdd0\ufdd1\ufdef\ufff9\ufffa\ufffb\ufffc\ufffe\uffffb"_s), u"ab");
}

TEST(Text, shownTextKeepsEveryScriptAndEmoji) {
    const QString text =
        u"é ß 日本語 שלום \u200fمی\u200cخواهم \U0001F468\u200d\U0001F469 \U0001F44D\U0001F3FD \ufffd"_s;
    EXPECT_EQ(displayText(text), text);
    EXPECT_EQ(displayText(QString()), QString());
}

TEST(Text, shownTextMayBePassedThroughInPieces) {
    const QString text = u"a\r\n\u202eb\U0001F600\u0007c"_s;
    for (qsizetype cut = 0; cut <= text.size(); ++cut)
        EXPECT_EQ(displayText(text.first(cut)) + displayText(text.sliced(cut)), displayText(text));
}

TEST(Text, aShownLineIsShownTextOnOneLine) {
    EXPECT_EQ(displayLine(u"one\r\ntwo\u2028three\u2029four\tfive"_s), u"one two three four five");
    EXPECT_EQ(displayLine(u"open \u202egnp\u202c\u2066.exe\u0085\u007f\u001b[1m"_s),
              u"open gnp.exe[1m");
    for (char16_t c = 1; c != 0; ++c) {
        const QString text = u"a"_s + QChar(c) + u'b';
        QString expected = displayText(text);
        expected.replace(u'\n', u' ').replace(u'\t', u' ');
        ASSERT_EQ(displayLine(text), expected) << "U+" << std::hex << int(c);
    }
}

TEST(Text, aShownLineWithNothingToChangeIsNotCopied) {
    const QString text = u"Visual Studio é 日本語 \U0001F468\u200d\U0001F469"_s;
    EXPECT_EQ(displayLine(text).constData(), text.constData());
}
