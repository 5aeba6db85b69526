// Answers in Markdown, taken apart while they come.

#include "Chat/AnswerBlocks.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

using More = AnswerBlocks::More;
using Parts = std::vector<AnswerPart>;

Parts partsOf(const QStringList &pieces, More more = More::No,
              AnswerBlocks::Syntax syntax = AnswerBlocks::Syntax::Markdown) {
    AnswerBlocks blocks(syntax);
    Parts parts;
    for (const QString &piece : pieces) {
        blocks.read(piece, parts);
        // What it looks like in between has no effect on what follows.
        static_cast<void>(blocks.unfinished(More::Yes));
    }
    const Parts end = blocks.unfinished(more);
    parts.insert(parts.end(), end.begin(), end.end());
    return parts;
}

/** One line for each part: its kind, "+" where it goes on with the line before or "…" with its
    words, how deep it is, what it says. */
QStringList described(const Parts &parts) {
    QStringList lines;
    for (const AnswerPart &part : parts) {
        constexpr const char16_t *kinds[]{u"text", u"heading", u"code", u"row", u"rule", u"plain"};
        constexpr const char16_t *starts[]{u"", u"+", u"…"};
        QString line = QString::fromUtf16(starts[static_cast<int>(part.start)]) +
                       QString::fromUtf16(kinds[static_cast<int>(part.kind)]);
        line += QString(part.quotes, u'>') + QString(part.lists, u'-');
        if (part.level > 0)
            line += QString::number(part.level);
        line += u": "_s;
        if (!part.marker.isEmpty())
            line += part.marker + u' ';
        lines.append(line + part.text + part.cells.join(u'|'));
    }
    return lines;
}

QStringList read(const QString &text, More more = More::No) {
    return described(partsOf({text}, more));
}

const QString everything = uR"(Some *text* and `code`
with another line

# Heading #
Underlined
---
- one
  more of it
- two
    - nested
      ```sh
      ls -l

      	tab
      ```
1. first

   still first
2. second
> quoted
> - in a list
going on

| a | b |
|:--|--:|
| 1 | 2 | 3 |
| 4
after
***
    code by its inset

    more of it
~~~
not ended
)"_s;

} // namespace

TEST(AnswerBlocks, eachKindOfBlockIsRead) {
    EXPECT_EQ(read(everything), (QStringList{u"text: Some *text* and `code`\nwith another line"_s,
                                             u"heading1: Heading"_s,
                                             u"heading2: Underlined"_s,
                                             u"text-: • one\nmore of it"_s,
                                             u"text-: • two"_s,
                                             u"text--: • nested"_s,
                                             u"code--: ls -l"_s,
                                             u"+code--: "_s,
                                             u"+code--: \ttab"_s,
                                             u"text-: 1. first"_s,
                                             u"text-: still first"_s,
                                             u"text-: 2. second"_s,
                                             u"text>: quoted"_s,
                                             u"text>-: • in a list\ngoing on"_s,
                                             u"row: a|b"_s,
                                             u"+row: 1|2 | 3"_s,
                                             u"+row: 4|"_s,
                                             u"text: after"_s,
                                             u"rule: "_s,
                                             u"code: code by its inset"_s,
                                             u"+code: "_s,
                                             u"+code: more of it"_s,
                                             u"code: not ended"_s}));
}

TEST(AnswerBlocks, whereverAnAnswerIsCutTheEndIsTheSame) {
    const Parts whole = partsOf({everything});
    for (qsizetype first = 0; first <= everything.size(); ++first) {
        for (qsizetype second = first; second <= everything.size(); second += 3)
            ASSERT_EQ(partsOf({everything.first(first), everything.sliced(first, second - first),
                               everything.sliced(second)}),
                      whole)
                << first << ", " << second;
    }
}

TEST(AnswerBlocks, aPartThatWasHandedOutNeverChanges) {
    AnswerBlocks blocks;
    Parts parts;
    for (const QChar c : everything)
        blocks.read(QString(c), parts);
    const Parts whole = partsOf({everything});
    ASSERT_LE(parts.size(), whole.size());
    EXPECT_TRUE(std::equal(parts.begin(), parts.end(), whole.begin()));
}

TEST(AnswerBlocks, anUnfinishedFenceIsCode) {
    EXPECT_EQ(read(u"```py\nprint("_s, More::Yes), QStringList{u"code: print("_s});
    EXPECT_EQ(read(u"```py\n"_s, More::Yes), QStringList{u"code: "_s});
    EXPECT_EQ(read(u"```\na\n``"_s, More::Yes), QStringList{u"code: a"_s}) << "a fence that comes";
    EXPECT_EQ(read(u"```\na\n``"_s), (QStringList{u"code: a"_s, u"+code: ``"_s})) << "none came";
}

TEST(AnswerBlocks, anUnfinishedTableIsATable) {
    EXPECT_EQ(read(u"| a | b"_s, More::Yes), QStringList{u"row: a|b"_s});
    EXPECT_EQ(read(u"| a | b |\n|--"_s, More::Yes), QStringList{u"row: a|b"_s});
    EXPECT_EQ(read(u"| a | b |\n|--|--|\n| 1"_s, More::Yes),
              (QStringList{u"row: a|b"_s, u"+row: 1|"_s}));
    EXPECT_EQ(read(u"| a | b"_s), QStringList{u"text: | a | b"_s}) << "it was none";
}

TEST(AnswerBlocks, whatMayStillBecomeMarkupIsLeftOutWhileMoreIsExpected) {
    for (const char16_t *sign : {u"#", u"##", u"-", u"* ", u"12", u"12.", u"``", u"|-"}) {
        const QString text = QString::fromUtf16(sign);
        EXPECT_TRUE(read(text, More::Yes).isEmpty()) << qPrintable(text);
        EXPECT_FALSE(read(text, More::No).isEmpty()) << qPrintable(text);
    }
}

TEST(AnswerBlocks, whatWasOpenedIsClosedWhileMoreIsExpected) {
    EXPECT_EQ(read(u"so **very"_s, More::Yes), QStringList{u"text: so **very**"_s});
    EXPECT_EQ(read(u"so **very"_s), QStringList{u"text: so **very"_s});
}

TEST(AnswerBlocks, aTableMayFollowALineOfText) {
    EXPECT_EQ(read(u"Here:\n|a|\n|-|\n|1|"_s),
              (QStringList{u"text: Here:"_s, u"row: a"_s, u"+row: 1"_s}));
}

TEST(AnswerBlocks, aLineWithBarsIsNoTable) {
    EXPECT_EQ(read(u"a | b\nc | d"_s), QStringList{u"text: a | b\nc | d"_s});
    EXPECT_EQ(read(u"|a|b|\n|-|"_s), QStringList{u"text: |a|b|\n|-|"_s}) << "columns differ";
}

TEST(AnswerBlocks, anEscapedBarIsNoBorder) {
    EXPECT_EQ(read(u"|a \\| b|\n|-|"_s), QStringList{u"row: a | b"_s});
}

TEST(AnswerBlocks, aNumberedListIsNumberedInOrder) {
    EXPECT_EQ(read(u"3. a\n3. b\n\n9. c"_s),
              (QStringList{u"text-: 3. a"_s, u"text-: 4. b"_s, u"text-: 5. c"_s}));
}

TEST(AnswerBlocks, aYearAtTheBeginningOfALineIsNoList) {
    EXPECT_EQ(read(u"It was\n1984. So"_s), QStringList{u"text: It was\n1984. So"_s});
}

TEST(AnswerBlocks, tasksHaveABox) {
    EXPECT_EQ(read(u"- [ ] a\n- [x] b"_s), (QStringList{u"text-: ☐ a"_s, u"text-: ☑ b"_s}));
}

TEST(AnswerBlocks, anItemWithoutAnythingHasItsBullet) {
    EXPECT_EQ(read(u"- \n- a"_s), (QStringList{u"text-: • "_s, u"text-: • a"_s}));
}

TEST(AnswerBlocks, aDashBelowAParagraphDoesNotMakeAHeadingOfIt) {
    EXPECT_EQ(read(u"text\n-"_s), QStringList{u"text: text\n-"_s});
}

TEST(AnswerBlocks, whatIsNestedBeyondReasonLosesNothing) {
    const QStringList lines = read(u"> "_s.repeated(500) + u"deep"_s);
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.first().endsWith(u"deep"_s));
}

TEST(AnswerBlocks, longParagraphsAndLinesArePartedTheSameHoweverTheyAreCut) {
    for (const QString &text :
         {u"a word and **another** "_s.repeated(400), u"x"_s.repeated(9000), u"👍"_s.repeated(3000),
          u"```\n"_s + u"y"_s.repeated(9000) + u"\nz\n```\nend"_s, u"line\n"_s.repeated(2000)}) {
        const Parts whole = partsOf({text});
        EXPECT_GT(whole.size(), 2U);
        for (qsizetype cut = 0; cut <= text.size(); cut += 173)
            ASSERT_EQ(partsOf({text.first(cut), text.sliced(cut)}), whole) << cut;
        QString all;
        for (const AnswerPart &part : whole) {
            EXPECT_LE(part.text.size(), AnswerBlocks::longest);
            if (part.kind != AnswerPart::Kind::Code)
                all += (part.start == AnswerPart::Start::Line ? u"\n"_s : QString()) + part.text;
        }
        if (!text.startsWith(u'`')) {
            EXPECT_EQ(all.trimmed(), text.trimmed());
        }
    }
}

TEST(AnswerBlocks, plainTextIsShownAsItIs) {
    EXPECT_EQ(described(partsOf({u"Error: *no* http://x\n\n# 1\n- "_s}, More::Yes,
                                AnswerBlocks::Syntax::Plain)),
              (QStringList{u"plain: Error: *no* http://x"_s, u"+plain: "_s, u"+plain: # 1"_s,
                           u"+plain: - "_s}));
}
