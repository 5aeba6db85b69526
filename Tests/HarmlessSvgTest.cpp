#include "Platform/Linux/HarmlessSvg.h"

#include "QtPrinters.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <gtest/gtest.h>

using namespace corvid;

namespace {

QByteArray svg(const QByteArray &content) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
           "viewBox=\"0 0 32 32\">" +
           content + "</svg>";
}

QByteArray embedded(const QByteArray &type, const QByteArray &bytes) {
    return "<image width=\"32\" height=\"32\" xlink:href=\"data:image/" + type + ";base64," +
           bytes.toBase64() + "\"/>";
}

QByteArray png(int edge) {
    QImage image(edge, edge, QImage::Format_Mono);
    image.fill(0);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

QImage drawn(const QByteArray &bytes) {
    QImage image(32, 32, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(bytes);
    EXPECT_TRUE(renderer.isValid());
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

} // namespace

TEST(HarmlessSvg, aHarmlessPictureLooksAsBefore) {
    const QByteArray picture =
        "<?xml version=\"1.0\"?><!DOCTYPE svg [<!ENTITY red \"#ff0000\">]><!-- by hand -->" +
        svg("<style><![CDATA[ .a > b { fill: blue } .a { fill: lime } ]]></style>"
            "<title>&lt;Tom &amp; \"Jerry\"&gt;</title>"
            "<defs><linearGradient id=\"g\"><stop offset=\"0\" stop-color=\"&red;\"/>"
            "<stop offset=\"1\" stop-color=\"white\"/></linearGradient></defs>"
            "<g transform=\"rotate(10)\"><rect fill=\"url(#g)\" width=\"20\" height=\"20\"/></g>"
            "<circle class=\"a\" cx=\"25\" cy=\"25\" r=\"5\"/><use xlink:href=\"#g\"/>"
            "<text x=\"2\" y=\"28\" xml:space=\"preserve\">A  B</text>" +
            embedded("png", png(4)));
    const std::optional<QByteArray> copy = harmlessSvg(picture);
    ASSERT_TRUE(copy);
    EXPECT_EQ(drawn(*copy), drawn(picture));
    EXPECT_EQ(harmlessSvg(*copy), copy);
}

TEST(HarmlessSvg, whatLeadsOutOfTheFileIsLeftOutAndTheRestStays) {
    const QByteArray rest = "<rect width=\"32\" height=\"32\"/>";
    for (const QByteArray &outside :
         {QByteArray("<image xlink:href=\"/dev/zero\"/>"),
          QByteArray("<image href=\"file:///x\"/>"),
          QByteArray(
              "<image xlink:href=\"data:image/svg+xml,%3Csvg/%3E\"><title>t</title></image>"),
          QByteArray("<s:image xlink:href=\"a.png\" xmlns:s=\"http://www.w3.org/2000/svg\"/>"),
          QByteArray("<?xml-stylesheet type=\"text/css\" href=\"/dev/zero\"?>"),
          QByteArray("<textArea width=\"1\">a b</textArea>"),
          embedded("png", svg("<image href=\"/dev/zero\"/>")), embedded("png", "no picture")}) {
        EXPECT_EQ(harmlessSvg(svg(outside + rest)), harmlessSvg(svg(rest))) << outside.constData();
        EXPECT_EQ(harmlessSvg(outside.startsWith("<?") ? outside + svg(rest) : svg(outside + rest)),
                  harmlessSvg(svg(rest)));
    }
    ASSERT_TRUE(harmlessSvg(svg(rest)));
    EXPECT_TRUE(harmlessSvg(svg(rest))->contains("rect"));
}

TEST(HarmlessSvg, thereIsNoPictureWhereDrawingCouldTakeVeryLong) {
    EXPECT_TRUE(harmlessSvg(svg(QByteArray("<g/>").repeated(9'000))));
    EXPECT_FALSE(harmlessSvg(svg(QByteArray("<g/>").repeated(11'000))));
    EXPECT_FALSE(harmlessSvg(svg("<text>" + QByteArray(300'000, 'x') + "</text>")));
    EXPECT_FALSE(harmlessSvg(svg("<style>" + QByteArray("a{}").repeated(2'000) + "</style>" +
                                 QByteArray("<g/>").repeated(2'000))));
    EXPECT_FALSE(
        harmlessSvg(svg(QByteArray("<g>").repeated(600) + QByteArray("</g>").repeated(600))));
    const QByteArray dashes = "<g stroke-dasharray=\"1\"><g style=\"STROKE-DASHARRAY:1\"/></g>";
    EXPECT_TRUE(harmlessSvg(svg(dashes.repeated(200))));
    EXPECT_FALSE(harmlessSvg(svg(dashes.repeated(300))));
    EXPECT_FALSE(harmlessSvg(
        svg("<style>g{stroke-dasharray:1}</style>" + QByteArray("<g/>").repeated(1'000))));
    EXPECT_TRUE(harmlessSvg(svg(embedded("png", png(2'000)))));
    EXPECT_FALSE(harmlessSvg(svg(embedded("png", png(2'000)) + embedded("png", png(1'000)))));
}

TEST(HarmlessSvg, whatIsNoSoundXmlIsNoPicture) {
    for (const char *bytes : {"", "text", "<svg", "<svg></g>", "<svg>&unknown;</svg>",
                              "<svg/><svg/>", "<image href='x'/>"})
        EXPECT_FALSE(harmlessSvg(bytes)) << bytes;
}
