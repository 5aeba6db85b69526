#include "Chat/ServerSentEvents.h"
#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** The pieces of a stream that arrives in these portions and then ends. */
QStringList piecesOf(const QList<QByteArray> &portions) {
    ServerSentEvents events;
    QStringList pieces;
    for (const QByteArray &portion : portions) {
        if (!events.read(portion, pieces))
            break;
    }
    events.finish(pieces);
    return pieces;
}

QByteArray chunk(const QByteArray &text) {
    return R"(data: {"choices":[{"delta":{"content":")" + text + R"("}}]})";
}

QStringList piecesOf(const QByteArray &bytes) {
    return piecesOf(QList<QByteArray>{bytes});
}

/** Whether the reader takes the line that holds this JSON. */
QStringList piecesOfJson(const QByteArray &json) {
    return piecesOf("data: " + json + "\n\n" + chunk("after") + "\n");
}

} // namespace

TEST(ServerSentEvents, linesEndInLfCrlfOrCr) {
    for (const QByteArray end : {"\n", "\r\n", "\r"}) {
        const QByteArray bytes = chunk("a") + end + end + chunk("b") + end + end + "data: [DONE]" +
                                 end + chunk("c") + end;
        EXPECT_EQ(piecesOf(bytes), QStringList({u"a"_s, u"b"_s})) << end.toHex().toStdString();
    }
}

TEST(ServerSentEvents, aLineCountsAsSoonAsItsEndIsHere) {
    for (const QByteArray end : {"\n", "\r"}) {
        ServerSentEvents events;
        QStringList pieces;
        events.read(chunk("a"), pieces);
        EXPECT_TRUE(pieces.isEmpty());
        events.read(end, pieces);
        EXPECT_EQ(pieces, QStringList(u"a"_s));
    }
}

TEST(ServerSentEvents, anyCutInTwoOrThreeYieldsTheSamePieces) {
    const QByteArray transcript = ": hello\r\nevent: message\rdata: "
                                  "{\"choices\":[{\"delta\":{\"role\":\"assistant\"}}]}\r\n\r\n" +
                                  chunk("né 日本 \xf0\x9f\x98\x80") + "\n\n" + chunk("") + "\r\r" +
                                  "data:{\"choices\":[]}\n" + "data: {half\n" +
                                  chunk("bad\xff utf8") + "\r\n" + chunk("\\u00e9\\n") +
                                  "\n\ndata: [DONE]\n" + chunk("no") + "\n";
    const QStringList whole = piecesOf(transcript);
    ASSERT_EQ(whole, QStringList({u"né 日本 \U0001F600"_s, u""_s, u"bad\ufffd utf8"_s, u"é\n"_s}));
    for (qsizetype a = 0; a <= transcript.size(); ++a) {
        for (qsizetype b = a; b <= transcript.size(); ++b) {
            ASSERT_EQ(
                piecesOf({transcript.first(a), transcript.sliced(a, b - a), transcript.sliced(b)}),
                whole)
                << "cut at " << a << " and " << b;
        }
    }
}

TEST(ServerSentEvents, oneByteAtATimeYieldsTheSamePieces) {
    const QByteArray bytes = chunk("日本") + "\r\n\r\n" + chunk("語") + "\r\ndata: [DONE]\r\n";
    QList<QByteArray> portions;
    for (const char byte : bytes)
        portions.append(QByteArray(1, byte));
    EXPECT_EQ(piecesOf(portions), QStringList({u"日本"_s, u"語"_s}));
}

TEST(ServerSentEvents, otherLinesThanDataLinesAreIgnored) {
    EXPECT_EQ(piecesOf(": ping\n\nevent: x\nid: 3\nretry: 10\nDATA: " + chunk("x").sliced(6) +
                       "\n " + chunk("y") + "\n" + chunk("a") + "\n"),
              QStringList(u"a"_s));
}

TEST(ServerSentEvents, aDataLineNeedsTheSpaceAfterTheColon) {
    const QByteArray line = chunk("a");
    EXPECT_EQ(piecesOf("data:" + line.sliced(6) + "\n" + chunk("b") + "\n"), QStringList(u"b"_s));
    EXPECT_EQ(piecesOf("data:[DONE]\n" + chunk("b") + "\n"), QStringList(u"b"_s));
}

TEST(ServerSentEvents, doneEndsTheAnswerWhateverFollows) {
    ServerSentEvents events;
    QStringList pieces;
    EXPECT_FALSE(events.read(chunk("a") + "\ndata: [DONE]\n" + chunk("b") + "\n", pieces));
    EXPECT_FALSE(events.read(chunk("c") + "\n", pieces));
    events.finish(pieces);
    EXPECT_EQ(pieces, QStringList(u"a"_s));
}

TEST(ServerSentEvents, onlyTheExactDoneLineEndsTheAnswer) {
    EXPECT_EQ(piecesOf("data: [DONE] \ndata:  [DONE]\ndata: [done]\n" + chunk("a") + "\n"),
              QStringList(u"a"_s));
}

TEST(ServerSentEvents, anAnswerMayEndWithoutDone) {
    EXPECT_EQ(piecesOf(chunk("a") + "\n\n"), QStringList(u"a"_s));
}

TEST(ServerSentEvents, theLastLineNeedsNoLineEnd) {
    EXPECT_EQ(piecesOf(chunk("a") + "\n" + chunk("b")), QStringList({u"a"_s, u"b"_s}));
    EXPECT_EQ(piecesOf("dat"), QStringList());
    EXPECT_EQ(piecesOf(""), QStringList());
}

TEST(ServerSentEvents, aDeltaWithoutContentYieldsNothing) {
    EXPECT_EQ(piecesOfJson(R"({"choices":[{"delta":{"role":"assistant"}}]})"),
              QStringList(u"after"_s));
}

TEST(ServerSentEvents, emptyContentIsAPiece) {
    EXPECT_EQ(piecesOfJson(R"({"choices":[{"delta":{"content":""}}]})"),
              QStringList({u""_s, u"after"_s}));
}

TEST(ServerSentEvents, onlyTheFirstChoiceCounts) {
    EXPECT_EQ(piecesOfJson(R"({"choices":[{"delta":{"content":"1"}},{"delta":{"content":"2"}}]})"),
              QStringList({u"1"_s, u"after"_s}));
}

TEST(ServerSentEvents, aLineThatCannotBeReadIsSkipped) {
    for (const QByteArray json : {
             R"()",
             R"( )",
             R"(<html>)",
             R"(null)",
             R"(3)",
             R"("text")",
             R"([])",
             R"({})",
             R"({"choices":[{"delta":{"content":"half)",
             R"({"choices":[{"delta":{"content":"x"}}]} and more)",
             R"({"choices":null})",
             R"({"choices":3})",
             R"({"choices":"x"})",
             R"({"choices":{}})",
             R"({"choices":[]})",
             R"({"choices":[null]})",
             R"({"choices":[3]})",
             R"({"choices":["x"]})",
             R"({"choices":[[]]})",
             R"({"choices":[{"delta":{"content":"x"}},3]})",
             R"({"choices":[{}]})",
             R"({"choices":[{"delta":null}]})",
             R"({"choices":[{"delta":3}]})",
             R"({"choices":[{"delta":"x"}]})",
             R"({"choices":[{"delta":[]}]})",
             R"({"choices":[{"delta":{}}]})",
             R"({"choices":[{"delta":{"content":null}}]})",
             R"({"choices":[{"delta":{"content":3}}]})",
             R"({"choices":[{"delta":{"content":["x"]}}]})",
             R"({"choices":[{"delta":{"content":{"text":"x"}}}]})",
             R"({"choices":[{"message":{"content":"x"}}]})",
         })
        EXPECT_EQ(piecesOfJson(json), QStringList(u"after"_s)) << json.constData();
}

TEST(ServerSentEvents, deepNestingIsSkipped) {
    EXPECT_EQ(piecesOfJson(QByteArray(100'000, '[')), QStringList(u"after"_s));
    EXPECT_EQ(piecesOfJson(QByteArray("{\"a\":").repeated(50'000)), QStringList(u"after"_s));
}

TEST(ServerSentEvents, aForeignLineWithoutEndIsNotKept) {
    ServerSentEvents events;
    QStringList pieces;
    const QByteArray portion(64 * 1024, 'x');
    for (int i = 0; i < 1600; ++i) { // 100 MB
        events.read(portion, pieces);
        ASSERT_EQ(events.buffered(), 0);
    }
    events.read("\n" + chunk("a") + "\n", pieces);
    EXPECT_EQ(pieces, QStringList(u"a"_s));
}

TEST(ServerSentEvents, aDataLineWithoutEndIsCutOffWithALastLine) {
    ServerSentEvents events;
    QStringList pieces;
    events.read(chunk("a") + "\ndata: {\"choices\":[{\"delta\":{\"content\":\"", pieces);
    const QByteArray portion(64 * 1024, 'x');
    int portions = 0;
    while (events.read(portion, pieces)) {
        ASSERT_LE(events.buffered(), ServerSentEvents::maxLine);
        ASSERT_LT(++portions, 1600);
    }
    EXPECT_EQ(events.buffered(), 0);
    EXPECT_EQ(pieces, QStringList({u"a"_s, u"\n\n"_s + ServerSentEvents::cutOffText()}));
}

TEST(ServerSentEvents, aLineOfGreatestLengthIsReadAndOneByteMoreIsNot) {
    const QByteArray frame = chunk("");
    const QByteArray longest = chunk(QByteArray(ServerSentEvents::maxLine - frame.size(), 'x'));
    ASSERT_EQ(longest.size(), ServerSentEvents::maxLine);
    for (const qsizetype cut : {qsizetype(0), qsizetype(3), longest.size() - 1, longest.size()}) {
        EXPECT_EQ(piecesOf({longest.first(cut), longest.sliced(cut) + "\n"}).first().size(),
                  longest.size() - frame.size());
        const QByteArray longer = longest + ' ';
        EXPECT_EQ(piecesOf({longer.first(cut), longer.sliced(cut) + "\n"}),
                  QStringList(ServerSentEvents::cutOffText()));
    }
}

TEST(ServerSentEvents, anAnswerWithoutEndIsCutOffWithALastLine) {
    ServerSentEvents events;
    QStringList pieces;
    const QByteArray line = chunk(QByteArray(1000, 'x')) + "\n";
    int lines = 1;
    while (events.read(line, pieces))
        ASSERT_LT(++lines, 2000);
    EXPECT_EQ(pieces.takeLast(), u"\n\n"_s + ServerSentEvents::cutOffText());
    EXPECT_EQ(pieces.join(QString()), QString(ServerSentEvents::maxAnswer, u'x'));
}

TEST(ServerSentEvents, theCutDoesNotHalveACharacter) {
    ServerSentEvents events;
    QStringList pieces;
    const QByteArray line = chunk(QByteArray("\xf0\x9f\x98\x80").repeated(1000)) + "\n";
    events.read(chunk("x") + "\n", pieces);
    while (events.read(line, pieces)) {
    }
    pieces.removeLast();
    EXPECT_EQ(pieces.join(QString()).size(), ServerSentEvents::maxAnswer - 1);
    EXPECT_TRUE(pieces.last().back().isLowSurrogate());
}
