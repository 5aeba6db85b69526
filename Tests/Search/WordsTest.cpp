#include "Search/Words.h"

#include <gtest/gtest.h>

#include <random>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using words::Fit;

namespace {

QStringList wordsIn(const QString &text) {
    QStringList found;
    words::forEach(text, [&found](QStringView word) { found.append(word.toString()); });
    return found;
}

Fit::Kind fit(const QString &word, const QString &text) {
    const words::Wanted wanted(word);
    const Fit::Kind kind = wanted.fitIn(QStringView(text)).kind;
    EXPECT_EQ(wanted.fitIn(QByteArrayView(wordsIn(text).join(u' ').toUtf8())).kind, kind)
        << "differs in UTF-8: " << qPrintable(word) << " in " << qPrintable(text);
    return kind;
}

} // namespace

TEST(Words, lettersDigitsPlusAndHashMakeWordsAndAllElseStandsBetweenThem) {
    EXPECT_EQ(wordsIn(u" wi-fi, c++ & c# (2fa) über\tальфа 日本 \U0001F44D "_s),
              (QStringList{u"wi"_s, u"fi"_s, u"c++"_s, u"c#"_s, u"2fa"_s, u"über"_s, u"альфа"_s,
                           u"日本"_s, u"\U0001F44D"_s}));
    EXPECT_EQ(wordsIn(u" -& "_s), QStringList());
    EXPECT_EQ(words::count(u"mouse & touchpad"), 2);
}

TEST(Words, aWordFitsWholeOrByItsFirstThreeLetters) {
    EXPECT_EQ(fit(u"mouse"_s, u"the mouse-pad"_s), Fit::Whole);
    EXPECT_EQ(fit(u"mou"_s, u"the mouse"_s), Fit::Beginning);
    EXPECT_EQ(fit(u"mo"_s, u"the mouse"_s), Fit::None) << "two letters only name themselves";
    EXPECT_EQ(fit(u"c"_s, u"basic c"_s), Fit::Whole);
    EXPECT_EQ(fit(u"ouse"_s, u"mouse"_s), Fit::None) << "not from its middle";
    EXPECT_EQ(fit(u"mouse"_s, u"mousepad mouse"_s), Fit::Whole) << "the better one of two";
    EXPECT_EQ(fit(u"mouses"_s, u"mous"_s), Fit::None);
    EXPECT_EQ(fit(u"größ"_s, u"die größe"_s), Fit::Beginning);
}

TEST(Words, aPluralFindsTheSingular) {
    EXPECT_EQ(fit(u"printers"_s, u"a printer"_s), Fit::Beginning);
    EXPECT_EQ(fit(u"processes"_s, u"process"_s), Fit::Beginning);
    EXPECT_EQ(fit(u"apps"_s, u"applications"_s), Fit::Singular);
    EXPECT_EQ(fit(u"apps"_s, u"apps app"_s), Fit::Whole);
    EXPECT_EQ(fit(u"gas"_s, u"ga"_s), Fit::None);
    EXPECT_EQ(fit(u"class"_s, u"clas"_s), Fit::None);
}

TEST(Words, whereAWordFitsIsTold) {
    EXPECT_EQ(words::Wanted(u"ton").fitIn(QByteArrayView("print tonic ton")).at, 12);
    EXPECT_EQ(words::Wanted(u"toni").fitIn(QByteArrayView("print tonic tonics")).at, 6);
}

TEST(Words, aTypedTextIsItsWordsAndThoseWithoutWhatStandsBetween) {
    const auto phrases = words::phrasesOf(u" Wi-Fi "_s);
    ASSERT_EQ(phrases.size(), 2U);
    ASSERT_EQ(phrases[0].words.size(), 2U);
    EXPECT_EQ(phrases[0].words[1].units, u"fi");
    ASSERT_EQ(phrases[1].words.size(), 1U);
    EXPECT_EQ(phrases[1].words[0].units, u"wifi");
    EXPECT_EQ(words::phrasesOf(u"wifi"_s).size(), 1U);
    EXPECT_EQ(words::phrasesOf(u"and"_s).front().words.size(), 1U);
    EXPECT_EQ(words::phrasesOf(u"date and time"_s).front().words.size(), 2U) << "as in \"&\"";
    EXPECT_TRUE(words::phrasesOf(u" - "_s).empty());
}

TEST(Words, theMaskNeverHidesATextThatHasTheWords) {
    std::mt19937 random(20261122);
    const auto pick = [&random](int count) {
        return std::uniform_int_distribution(0, count - 1)(random);
    };
    const QString alphabet = u"abé日 -s"_s;
    const auto text = [&](int longest) {
        QString made;
        for (int left = pick(longest + 1); left > 0; --left)
            made += alphabet[pick(static_cast<int>(alphabet.size()))];
        return made;
    };
    int fits = 0;
    for (int round = 0; round < 20'000; ++round) {
        const QString in = text(12);
        const words::Phrase phrase(text(6));
        bool hasAll = !phrase.words.empty();
        for (const words::Wanted &word : phrase.words)
            hasAll = hasAll && fit(word.units, in) != Fit::None;
        if (!hasAll)
            continue;
        ++fits;
        ASSERT_EQ(phrase.mask & ~words::maskOf(in), 0U) << qPrintable(in);
    }
    EXPECT_GT(fits, 500) << "hardly anything was compared";
}
