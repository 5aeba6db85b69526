#include "Platform/Linux/Icons/PictureCheck.h"

#include <QBuffer>
#include <QImage>

#include <gtest/gtest.h>

using namespace corvid;

namespace {

QByteArray svg(const QByteArray &content) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
           "viewBox=\"0 0 32 32\">" +
           content + "</svg>";
}

QByteArray image(const QByteArray &reference) {
    return "<image width=\"32\" height=\"32\" xlink:href=\"" + reference + "\"/>";
}

QByteArray embedded(const QByteArray &bytes) {
    return image("data:image/png;base64," + bytes.toBase64());
}

QByteArray picture(int edge, const char *format = "PNG") {
    QImage pixels(edge, edge, QImage::Format_RGB32);
    pixels.fill(0);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    EXPECT_TRUE(pixels.save(&buffer, format));
    return bytes;
}

} // namespace

TEST(PictureCheck, theSizeIsThatOfAPictureInAFormatOfIcons) {
    for (const char *format : {"PNG", "XPM", "JPEG", "BMP"})
        EXPECT_EQ(rasterSize(picture(12, format)), QSize(12, 12)) << format;
    EXPECT_FALSE(rasterSize(picture(12, "PPM"))) << "no format of icons";
    EXPECT_FALSE(rasterSize(svg({})));
    EXPECT_FALSE(rasterSize("no picture"));
    EXPECT_FALSE(rasterSize({}));
}

TEST(PictureCheck, whatPeopleDrawIsHarmless) {
    EXPECT_TRUE(isHarmlessDrawing(
        "<?xml version=\"1.0\"?><!DOCTYPE svg [<!ENTITY red \"#ff0000\">]><!-- by hand -->" +
        svg("<style><![CDATA[ .a > b { fill: blue } .a { fill: lime } ]]></style>"
            "<title>&lt;Tom &amp; \"Jerry\"&gt;</title>"
            "<defs><linearGradient id=\"g\"><stop offset=\"0\" stop-color=\"&red;\"/>"
            "<stop offset=\"1\" stop-color=\"white\"/></linearGradient></defs>"
            "<circle class=\"a\" cx=\"25\" cy=\"25\" r=\"5\" stroke-dasharray=\"1 2\"/>"
            "<use xlink:href=\"#g\"/><text x=\"2\" xml:space=\"preserve\">A  B</text>" +
            embedded(picture(4)))));
}

TEST(PictureCheck, aDrawingThatNeedsAnotherFileIsNot) {
    for (const QByteArray &outside :
         {image("/dev/zero"), image("file:///x"), image("a.png"), image(""),
          image("data:image/svg+xml,%3Csvg/%3E"), embedded(svg(image("/dev/zero"))),
          embedded("no picture"), QByteArray("<image href=\"/x\"/>"),
          QByteArray("<s:image s:href=\"/x\" xmlns:s=\"http://www.w3.org/2000/svg\"/>")})
        EXPECT_FALSE(isHarmlessDrawing(svg(outside))) << outside.constData();
    EXPECT_FALSE(
        isHarmlessDrawing("<?xml-stylesheet type=\"text/css\" href=\"/dev/zero\"?>" + svg({})));
}

TEST(PictureCheck, aDrawingThatTakesVeryLongIsNot) {
    EXPECT_TRUE(isHarmlessDrawing(svg(QByteArray("<g/>").repeated(9'000))));
    EXPECT_FALSE(isHarmlessDrawing(svg(QByteArray("<g/>").repeated(11'000))));
    EXPECT_FALSE(isHarmlessDrawing(svg("<text>" + QByteArray(300'000, 'x') + "</text>")));
    EXPECT_FALSE(isHarmlessDrawing(svg("<textArea width=\"1\">a b</textArea>")));
    EXPECT_FALSE(isHarmlessDrawing(svg("<style>" + QByteArray("a{}").repeated(2'000) + "</style>" +
                                       QByteArray("<g/>").repeated(2'000))));
    EXPECT_FALSE(
        isHarmlessDrawing(svg(QByteArray("<g>").repeated(600) + QByteArray("</g>").repeated(600))));
    const QByteArray dashes = "<g stroke-dasharray=\"1\"><g style=\"STROKE-DASHARRAY:1\"/></g>";
    EXPECT_TRUE(isHarmlessDrawing(svg(dashes.repeated(200))));
    EXPECT_FALSE(isHarmlessDrawing(svg(dashes.repeated(300))));
    EXPECT_FALSE(isHarmlessDrawing(
        svg("<style>g{stroke-dasharray:1}</style>" + QByteArray("<g/>").repeated(1'000))));
    EXPECT_TRUE(isHarmlessDrawing(svg(embedded(picture(2'000)))));
    EXPECT_FALSE(isHarmlessDrawing(svg(embedded(picture(2'000)) + embedded(picture(1'000)))));
}

TEST(PictureCheck, whatIsNoSoundXmlIsNot) {
    for (const char *bytes :
         {"", "text", "<svg", "<svg></g>", "<svg>&unknown;</svg>", "<svg/><svg/>"})
        EXPECT_FALSE(isHarmlessDrawing(bytes)) << bytes;
}
