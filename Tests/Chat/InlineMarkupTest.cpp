// Emphasis, code and links within a paragraph.

#include "Chat/InlineMarkup.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** Each run in braces, behind signs for how it looks; a line end is "⏎". */
QString runs(const QString &markdown) {
    QString text;
    for (const InlineRun &run : inlineRuns(markdown)) {
        text += u'{';
        if (run.strong)
            text += u"strong "_s;
        if (run.emphasised)
            text += u"em "_s;
        if (run.struck)
            text += u"struck "_s;
        if (run.code)
            text += u"code "_s;
        if (!run.address.isEmpty())
            text += run.address + u' ';
        text += run.text + u'}';
        if (run.endsLine)
            text += u'⏎';
    }
    return text;
}

} // namespace

TEST(InlineMarkup, emphasisAndCodeAreRead) {
    EXPECT_EQ(runs(u"a **b *c*** `d *e*` ~~f~~"_s),
              u"{a }{strong b }{strong em c}{ }{code d *e*}{ }{struck f}");
}

TEST(InlineMarkup, aLineThatEndsEndsOnTheScreenToo) {
    EXPECT_EQ(runs(u"a\n**b\nc**"_s), u"{a}⏎{strong b}⏎{strong c}");
}

TEST(InlineMarkup, whatLooksLikeABlockIsText) {
    EXPECT_EQ(runs(u"# a\n- b\n1. c\n> d\n---\n```\n| e |\n|---|"_s),
              u"{# a}⏎{- b}⏎{1. c}⏎{> d}⏎{---}⏎{```}⏎{| e |}⏎{|---|}");
}

TEST(InlineMarkup, htmlAndEntitiesAreText) {
    EXPECT_EQ(runs(u"<b>x</b> &amp; &#x202e; <!-- y -->"_s),
              u"{<b>x</b> &amp; &#x202e; <!-- y -->}");
}

TEST(InlineMarkup, linksToPagesAndMailboxesHaveTheirAddress) {
    EXPECT_EQ(runs(u"[a](https://x.org/b?c=1) <http://y.org> https://z.org."_s),
              u"{https://x.org/b?c=1 a}{ }{http://y.org http://y.org}{ }"
              "{https://z.org https://z.org}{.}");
    EXPECT_EQ(runs(u"[a](mailto:b@x.org)"_s), u"{mailto:b@x.org a}");
}

TEST(InlineMarkup, anAddressOfAnotherKindIsText) {
    for (const char16_t *address : {u"file:///etc/passwd", u"javascript:alert(1)", u"README.md",
                                    u"#top", u"data:,x", u"app:x", u"http:///x", u"https:"}) {
        const QString text = QString::fromUtf16(address);
        EXPECT_EQ(runs(u"[a]("_s + text + u')'), u"{a ("_s + text + u")}"_s) << qPrintable(text);
    }
}

TEST(InlineMarkup, anAddressThatCannotBeOpenedIsShownOnce) {
    EXPECT_EQ(runs(u"see https://x.\ufffd> there"_s), u"{see https://x.\ufffd> there}");
}

TEST(InlineMarkup, anAddressIsShownByTheCharactersThatAreSent) {
    EXPECT_EQ(runs(u"[a](https://аpple.com/ü)"_s), u"{https://xn--pple-43d.com/%C3%BC a}");
}

TEST(InlineMarkup, aPictureIsALinkToIt) {
    EXPECT_EQ(runs(u"![a](https://x.org/b.png)"_s), u"{https://x.org/b.png a}");
    EXPECT_EQ(runs(u"![](https://x.org/b.png)"_s), u"{https://x.org/b.png https://x.org/b.png}");
}

TEST(InlineMarkup, blanksAtTheEndsPartWordsFromThoseOfOtherParts) {
    EXPECT_EQ(runs(u" a "_s), u"{ }{a}{ }");
    EXPECT_EQ(runs(u"  "_s), u"{  }");
    EXPECT_EQ(runs({}), QString());
}

TEST(InlineMarkup, whatWasOpenedIsClosedForNow) {
    EXPECT_EQ(closedForNow(u"a **b"_s), u"a **b**");
    EXPECT_EQ(closedForNow(u"a **b *c"_s), u"a **b *c***");
    EXPECT_EQ(closedForNow(u"a **b*"_s), u"a **b**");
    EXPECT_EQ(closedForNow(u"a *"_s), u"a");
    EXPECT_EQ(closedForNow(u"a `b *c"_s), u"a `b *c`");
    EXPECT_EQ(closedForNow(u"a [b](http://x"_s), u"a b");
    EXPECT_EQ(closedForNow(u"a **b** 2 * 3 c_d"_s), u"a **b** 2 * 3 c_d");
    EXPECT_EQ(closedForNow(u"a \\**b"_s), u"a \\**b*");
    EXPECT_EQ(closedForNow(u"a `b` c\\"_s), u"a `b` c\\");
}
