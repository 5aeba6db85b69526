#include "Search/Spelling.h"

#include <gtest/gtest.h>

#include <random>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QString plain(const QString &text) {
    QString memory = u"from before"_s;
    return spelling::withoutAccents(text, memory).toString();
}

// Every text that is one slip from this one, by making all of them.
QStringList slipsOf(const QString &text, const QString &alphabet) {
    QStringList all;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        for (const QChar letter : alphabet) {
            all << QString(text).insert(i, letter);
            if (i < text.size() && text[i] != letter)
                all << QString(text).replace(i, 1, letter);
        }
        if (i < text.size())
            all << QString(text).remove(i, 1);
        if (i + 1 < text.size() && text[i] != text[i + 1]) {
            QString swapped = text;
            std::swap(swapped[i], swapped[i + 1]);
            all << swapped;
        }
    }
    return all;
}

} // namespace

TEST(Spelling, lettersLoseTheirAccentsAndStayLetters) {
    EXPECT_EQ(plain(u"café naïve ångström čeština việt ещё άλφα"_s),
              u"cafe naive angstrom cestina viet еще αλφα");
    EXPECT_EQ(plain(u"cafe\u0301"_s), u"cafe") << "written in two parts";
    EXPECT_EQ(plain(u"straße øl 日本 हिन्दी \U0001F44D"_s), u"straße øl 日本 हिन्दी \U0001F44D")
        << "letters without accents";
}

TEST(Spelling, oneSlipIsALetterWrongMissingAddedOrSwapped) {
    EXPECT_TRUE(spelling::isOneSlip(u"fierfox", u"firefox"));
    EXPECT_TRUE(spelling::isOneSlip(u"firefix", u"firefox"));
    EXPECT_TRUE(spelling::isOneSlip(u"firfox", u"firefox"));
    EXPECT_TRUE(spelling::isOneSlip(u"firefoxx", u"firefox"));
    EXPECT_TRUE(spelling::isOneSlip(u"ifrefox", u"firefox"));
    EXPECT_TRUE(spelling::isOneSlip(u"firefxo", u"firefox"));
    EXPECT_FALSE(spelling::isOneSlip(u"firefox", u"firefox"));
    EXPECT_FALSE(spelling::isOneSlip(u"fierfix", u"firefox"));
    EXPECT_FALSE(spelling::isOneSlip(u"fier", u"firefox"));
    EXPECT_FALSE(spelling::isOneSlip(u"", u""));
}

TEST(Spelling, exactlyWhatOneSlipMakesIsOneSlipAway) {
    const QString alphabet = u"ab"_s;
    std::mt19937 random(20261122);
    const auto text = [&random] {
        QString made;
        for (int left = std::uniform_int_distribution(0, 5)(random); left > 0; --left)
            made += std::uniform_int_distribution(0, 1)(random) ? u'a' : u'b';
        return made;
    };
    int slips = 0;
    for (int round = 0; round < 5'000; ++round) {
        const QString one = text();
        const QString other = text();
        const bool expected = slipsOf(one, alphabet).contains(other) && one != other;
        ASSERT_EQ(spelling::isOneSlip(one, other), expected)
            << qPrintable(one) << " " << qPrintable(other);
        slips += expected;
    }
    EXPECT_GT(slips, 500);
}
