#include "Platform/Linux/Icons/IconLoader.h"

#include "Platform/Linux/Icons/IconDrawing.h"
#include "Worlds/EventLoop.h"
#include "Worlds/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

#include <sys/stat.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString fixtures = QStringLiteral(CORVID_TEST_FIXTURES "/icons/");
const QColor red(255, 0, 0);
const QColor blue(0, 0, 255);
const QColor nothing(0, 0, 0, 0);

class IconLoaderTest : public ::testing::Test {
protected:
    IconLoaderTest() {
        file(u"themes/t/index.theme"_s,
             "[Icon Theme]\nDirectories=32\n[32]\nSize=32\nType=Fixed\n");
    }

    QString path(const QString &name) const { return root_.path() + u'/' + name; }

    void file(const QString &name, const QByteArray &content) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile out(path(name));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
    }
    void png(const QString &name, QSize size, QColor color) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QImage image(size, QImage::Format_RGB32);
        image.fill(color);
        ASSERT_TRUE(image.save(path(name), "PNG"));
    }
    QString entry(const QString &icon) const {
        file(u"app.desktop"_s,
             "[Desktop Entry]\nType=Application\nName=x\nExec=x\nIcon=" + icon.toUtf8() + '\n');
        return path(u"app.desktop"_s);
    }

    IconLoader loader(qreal devicePixelRatio = 1) const {
        return {
            [] { return u"t"_s; }, {{path(u"themes"_s)}, {path(u"pixmaps"_s)}}, devicePixelRatio};
    }

    QTemporaryDir root_;
};

QByteArray gzipped(const QByteArray &bytes) {
    QProcess gzip;
    gzip.start(u"gzip"_s, {u"-c"_s});
    gzip.write(bytes);
    gzip.closeWriteChannel();
    EXPECT_TRUE(gzip.waitForFinished());
    return gzip.readAllStandardOutput();
}

QColor middle(const Image &image) {
    return image->pixelColor(image->width() / 2, image->height() / 2);
}

} // namespace

TEST_F(IconLoaderTest, anEntrysIconIsNamedInTheThemeOrAFile) {
    png(u"themes/t/32/named.png"_s, {32, 32}, red);
    png(u"elsewhere/file.png"_s, {32, 32}, blue);
    EXPECT_EQ(middle(loader().icon(entry(u"named"_s))), red);
    EXPECT_EQ(middle(loader().icon(entry(path(u"elsewhere/file.png"_s)))), blue);
    EXPECT_EQ(middle(loader().icon(entry(u"named.png"_s))), red) << "with a needless extension";
}

TEST_F(IconLoaderTest, aDotInAnIconsNameIsNoExtension) {
    png(u"themes/t/32/org.example.App.png"_s, {32, 32}, red);
    EXPECT_EQ(middle(loader().icon(entry(u"org.example.App"_s))), red);
}

TEST_F(IconLoaderTest, everyFormatIsRead) {
    for (const QString &name : {u"square.svg"_s, u"packed.svgz"_s, u"square.xpm"_s})
        EXPECT_EQ(middle(loader().icon(entry(fixtures + name))), red) << qPrintable(name);
}

TEST_F(IconLoaderTest, aPictureWithTextIsReadOnAnyThread) {
    const IconLoader icons = loader();
    const QString path = entry(fixtures + "text.svg"_L1);
    Image image;
    std::thread([&] { image = icons.icon(path); }).join();
    EXPECT_EQ(image->pixelColor(30, 30), QColor(0, 255, 0));
}

TEST_F(IconLoaderTest, everyIconIsASquareOf32PointsAtTheScreensResolution) {
    png(u"small.png"_s, {8, 8}, red);
    png(u"large.png"_s, {500, 500}, red);
    const std::pair<qreal, int> rows[]{{1, 32}, {1.25, 40}, {1.5, 48}, {2, 64}, {3, 96}};
    for (const auto &[ratio, pixels] : rows) {
        const IconLoader icons = loader(ratio);
        for (const QString &icon :
             {path(u"small.png"_s), path(u"large.png"_s), fixtures + "square.svg"_L1,
              fixtures + "wide.svg"_L1, u"no-such-icon"_s}) {
            const Image image = icons.icon(entry(icon));
            ASSERT_TRUE(image);
            EXPECT_EQ(image->size(), QSize(pixels, pixels)) << qPrintable(icon);
            EXPECT_EQ(image->devicePixelRatio(), ratio) << qPrintable(icon);
        }
    }
}

TEST_F(IconLoaderTest, aPictureThatIsNoSquareKeepsItsShapeInTheMiddle) {
    png(u"wide.png"_s, {200, 100}, blue);
    for (const QString &icon : {path(u"wide.png"_s), fixtures + "wide.svg"_L1}) {
        const Image image = loader().icon(entry(icon));
        EXPECT_EQ(middle(image), blue) << qPrintable(icon);
        EXPECT_EQ(image->pixelColor(1, 16), blue) << qPrintable(icon);
        EXPECT_EQ(image->pixelColor(16, 4), nothing) << qPrintable(icon);
        EXPECT_EQ(image->pixelColor(16, 27), nothing) << qPrintable(icon);
    }
}

TEST_F(IconLoaderTest, whatHasNoIconHasTheGenericOne) {
    const IconLoader icons = loader();
    const Image generic = icons.genericIcon();
    ASSERT_TRUE(generic);
    EXPECT_EQ(icons.icon(path(u"gone.desktop"_s)), generic);
    EXPECT_EQ(icons.icon(path(u"Gone.app"_s)), generic);
    EXPECT_EQ(icons.icon(path(u"gone"_s)), generic);
    EXPECT_EQ(icons.icon(QString()), generic);
    EXPECT_EQ(icons.icon(entry(QString())), generic);
    EXPECT_EQ(icons.icon(entry(u"no-such-icon"_s)), generic);
    EXPECT_EQ(icons.icon(entry(path(u"no/such/file.png"_s))), generic);
    file(u"damaged.desktop"_s, "\xff[[\n");
    EXPECT_EQ(icons.icon(path(u"damaged.desktop"_s)), generic);
}

TEST_F(IconLoaderTest, whatIsNoSoundPictureHasTheGenericOne) {
    const IconLoader icons = loader();
    file(u"text.png"_s, "no picture at all");
    file(u"cut.svg"_s, "<svg xmlns=\"http://www.w3.org/2000/svg\"><rect");
    file(u"empty.png"_s, "");
    file(u"cut.svgz"_s, QByteArray("\x1f\x8b\x08\x00", 4));
    file(u"large.svg"_s, QByteArray(9 * 1024 * 1024, ' '));
    png(u"wide.png"_s, {5000, 2}, red);
    QDir().mkpath(path(u"folder.png"_s));
    for (const QString &name : {u"text.png"_s, u"cut.svg"_s, u"empty.png"_s, u"cut.svgz"_s,
                                u"large.svg"_s, u"wide.png"_s, u"folder.png"_s})
        EXPECT_EQ(icons.icon(entry(path(name))), icons.genericIcon()) << qPrintable(name);
}

TEST_F(IconLoaderTest, aFileThatUnpacksToGigabytesIsNoPicture) {
    // Small on the disk; read as a whole it would fill the memory.
    QProcess gzip;
    gzip.setStandardOutputFile(path(u"bomb.svgz"_s));
    gzip.start(u"sh"_s, {u"-c"_s, u"head -c 64000000 /dev/zero | gzip -9c"_s});
    ASSERT_TRUE(gzip.waitForFinished());
    ASSERT_LT(QFileInfo(path(u"bomb.svgz"_s)).size(), 1'000'000);
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(entry(path(u"bomb.svgz"_s))), icons.genericIcon());
}

TEST_F(IconLoaderTest, picturesThatAreMeantToDoHarmDoNone) {
    const auto svg = [](const QByteArray &content) {
        return "<svg xmlns=\"http://www.w3.org/2000/svg\" "
               "xmlns:xlink=\"http://www.w3.org/1999/xlink\" viewBox=\"0 0 32 32\">" +
               content + "</svg>";
    };
    const QByteArray pipe = QFile::encodeName(path(u"pipe"_s));
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    file(u"picture.svg"_s, svg("<image width='32' height='32' xlink:href='" + pipe + "'/>"));
    file(u"sheet.svg"_s,
         "<?xml-stylesheet type=\"text/css\" href=\"" + pipe + "\"?>" + svg("<rect/>"));
    QByteArray rules;
    for (int i = 0; i < 40'000; ++i)
        rules += ".c" + QByteArray::number(i) + "{fill:red}";
    QByteArray attributes;
    for (int i = 0; i < 500'000; ++i)
        attributes += " a" + QByteArray::number(i) + "=''";
    const QByteArray shape = "<rect class='c1' width='32' height='32'/>";
    file(u"many.svg"_s, svg(QByteArray("<g/>").repeated(1'900'000)));
    file(u"deep.svg"_s, svg(QByteArray("<g>").repeated(900'000)));
    file(u"styles.svg"_s, svg("<style>" + rules + "</style>" + shape.repeated(20'000)));
    file(u"stops.svg"_s, svg("<linearGradient id='g'>" + QByteArray("<stop/>").repeated(500'000) +
                             "</linearGradient>"));
    file(u"attributes.svg"_s, svg("<rect" + attributes + "/>"));
    file(u"dashes.svg"_s, svg(QByteArray("<circle r='1e6' cx='-1e6' stroke='red' "
                                         "stroke-dasharray='1e-3'/>")
                                  .repeated(40'000)));
    file(u"header.png"_s, QByteArray::fromHex("89504e470d0a1a0a0000000d49484452"
                                              "7fffffff7fffffff0800000000"
                                              "00000000"));
    file(u"colours.xpm"_s,
         "/* XPM */\nstatic char *x[] = {\n\"4096 4096 16777216 4\",\n\"a c #000000\"};\n");
    const IconLoader icons = loader();
    for (const QString &name : {u"many.svg"_s, u"deep.svg"_s, u"styles.svg"_s, u"stops.svg"_s,
                                u"attributes.svg"_s, u"dashes.svg"_s, u"picture.svg"_s,
                                u"sheet.svg"_s, u"header.png"_s, u"colours.xpm"_s, u"pipe"_s})
        EXPECT_EQ(icons.icon(entry(path(name))), icons.genericIcon()) << qPrintable(name);
}

TEST_F(IconLoaderTest, filesOfAThemeThatArePipesKeepNobodyWaiting) {
    const QString index = path(u"themes/t/index.theme"_s);
    ASSERT_TRUE(QFile::remove(index));
    for (const QString &pipe : {index, path(u"app.desktop"_s)})
        ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QString bundle = path(u"My.app/Contents"_s);
    ASSERT_TRUE(QDir().mkpath(bundle));
    ASSERT_EQ(mkfifo(QFile::encodeName(bundle + u"/Info.plist"_s).constData(), 0600), 0);
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(path(u"app.desktop"_s)), icons.genericIcon());
    EXPECT_EQ(icons.icon(path(u"My.app"_s)), icons.genericIcon());
    EXPECT_EQ(icons.named(u"any"_s), nullptr);
}

TEST_F(IconLoaderTest, aDrawingThatNamesOtherFilesIsNoPicture) {
    png(u"red.png"_s, {32, 32}, red);
    file(u"red.css"_s, "rect { fill: #f00 }");
    const QByteArray head = "<svg xmlns=\"http://www.w3.org/2000/svg\" "
                            "xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
                            "width=\"32\" height=\"32\">";
    const auto picture = [&head](const QByteArray &reference) {
        return head + "<image width=\"32\" height=\"32\" xlink:href=\"" + reference + "\"/></svg>";
    };
    const auto embedded = [](const QByteArray &bytes) {
        return "data:image/png;base64," + bytes.toBase64();
    };
    const QByteArray raster = path(u"red.png"_s).toUtf8();
    const QByteArray styled = "<?xml version=\"1.0\"?><?xml-stylesheet type=\"text/css\" href=\"" +
                              path(u"red.css"_s).toUtf8() + "\"?>" + head +
                              "<rect width=\"32\" height=\"32\"/></svg>";
    const std::pair<QString, QByteArray> rows[]{
        {u"picture.svg"_s, picture(raster)},
        {u"address.svg"_s, picture("file://" + raster)},
        {u"style.svg"_s, styled},
        {u"a-drawing-within-the-drawing.svg"_s, picture(embedded(picture(raster)))},
        {u"a-drawing-by-another-name.png"_s, picture(raster)},
        {u"packed-twice.svgz"_s, gzipped(gzipped(picture(raster)))},
    };
    const IconLoader icons = loader();
    for (const auto &[name, content] : rows) {
        file(name, content);
        EXPECT_EQ(icons.icon(entry(path(name))), icons.genericIcon()) << qPrintable(name);
    }

    QFile source(path(u"red.png"_s));
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    file(u"embedded.svg"_s, picture(embedded(source.readAll())));
    EXPECT_EQ(middle(icons.icon(entry(path(u"embedded.svg"_s)))), red);
}

TEST_F(IconLoaderTest, aBundlesIconIsTheOneItsPropertiesName) {
    const auto properties = [this](const QByteArray &icon) {
        file(u"My.app/Contents/Info.plist"_s,
             "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIconFile</key>"
             "<string>" +
                 icon + "</string></dict></plist>");
    };
    png(u"My.app/Contents/Resources/Icon.png"_s, {32, 32}, red);
    const IconLoader icons = loader();
    for (const char *name : {"Icon.png", "Icon", "Icon.icns"}) {
        properties(name);
        EXPECT_EQ(middle(icons.icon(path(u"My.app"_s))), red) << name;
    }
    png(u"outside.png"_s, {32, 32}, red);
    for (const char *name : {"Other", "", "../../../outside.png"}) {
        properties(name);
        EXPECT_EQ(icons.icon(path(u"My.app"_s)), icons.genericIcon()) << name;
    }
}

TEST_F(IconLoaderTest, aBundleWhosePropertiesAreAPipeDoesNotBlock) {
    QDir().mkpath(path(u"My.app/Contents"_s));
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"My.app/Contents/Info.plist"_s)).constData(), 0600),
              0);
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(path(u"My.app"_s)), icons.genericIcon());
}

TEST_F(IconLoaderTest, aFolderHasTheThemesFolderIconAndTheHomeFolderItsOwn) {
    png(u"themes/t/32/folder.png"_s, {32, 32}, red);
    EXPECT_EQ(middle(loader().icon(root_.path())), red);
    EXPECT_EQ(middle(loader().icon(QDir::homePath())), red) << "no icon for the home folder";
    png(u"themes/t/32/user-home.png"_s, {32, 32}, blue);
    EXPECT_EQ(middle(loader().icon(QDir::homePath())), blue);
    EXPECT_EQ(middle(loader().icon(root_.path())), red);
}

TEST_F(IconLoaderTest, aFolderHasOurIconWhereTheThemeHasNone) {
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(root_.path())->convertToFormat(QImage::Format_ARGB32), [] {
        QImage image = drawFolderIcon(32);
        return image.convertToFormat(QImage::Format_ARGB32);
    }());
}

TEST_F(IconLoaderTest, anIconThatIsInstalledLaterIsFound) {
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(entry(u"late"_s)), icons.genericIcon());
    png(u"themes/t/32/late.png"_s, {32, 32}, red);
    file(u"themes/t/icon-theme.cache"_s, "as installers do");
    EXPECT_TRUE(test::eventually(
        [&] { return icons.icon(path(u"app.desktop"_s)) != icons.genericIcon(); }));
}

TEST_F(IconLoaderTest, severalThreadsMayAskAtOnce) {
    png(u"themes/t/32/named.png"_s, {32, 32}, red);
    const IconLoader icons = loader();
    const QString path = entry(u"named"_s);
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 50; ++n)
                if (middle(icons.icon(path)) == red)
                    ++right;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 200);
}

TEST(IconDrawing, theStandInsAreShapesOnATransparentSquare) {
    for (const QImage &image : {drawApplicationIcon(64), drawFolderIcon(64)}) {
        EXPECT_EQ(image.size(), QSize(64, 64));
        EXPECT_EQ(image.pixelColor(0, 0), nothing);
        EXPECT_EQ(image.pixelColor(63, 63), nothing);
        EXPECT_EQ(image.pixelColor(20, 44).alpha(), 255);
    }
}
