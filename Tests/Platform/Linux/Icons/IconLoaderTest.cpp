#include "Platform/Linux/Icons/IconLoader.h"

#include "Platform/Linux/Icons/IconDrawing.h"
#include "Worlds/EventLoop.h"
#include "Worlds/IconFiles.h"
#include "Worlds/QtPrinters.h"

#include <thread>

#include <sys/stat.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString fixtures = QStringLiteral(CORVID_TEST_FIXTURES "/icons/");
class IconLoaderTest : public IconFiles {};

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

TEST_F(IconLoaderTest, aFileHasTheIconOfItsTypeAsItsNameTellsIt) {
    file(u"notes"_s, "words");
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(path(u"notes"_s)), icons.genericIcon());
    png(u"themes/t/32/application-octet-stream.png"_s, {32, 32}, red);
    EXPECT_EQ(middle(loader().icon(path(u"notes"_s))), red);
}

TEST_F(IconLoaderTest, anIconThatIsInstalledLaterIsFound) {
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(entry(u"late"_s)), icons.genericIcon());
    png(u"themes/t/32/late.png"_s, {32, 32}, red);
    file(u"themes/t/icon-theme.cache"_s, "as installers do");
    EXPECT_TRUE(
        eventually([&] { return icons.icon(path(u"app.desktop"_s)) != icons.genericIcon(); }));
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

TEST_F(IconLoaderTest, anAppImagesIconIsThePictureOfItsNameBesideIt) {
    png(u"A-1.0.png"_s, {32, 32}, red);
    ASSERT_TRUE(QFile::copy(fixtures + "square.svg"_L1, path(u"B.svg"_s)));
    png(u"c.png"_s, {32, 32}, blue);
    ASSERT_TRUE(QFile::rename(path(u"c.png"_s), path(u"C.DirIcon"_s)));
    const IconLoader icons = loader();
    EXPECT_EQ(middle(icons.icon(path(u"A-1.0.AppImage"_s))), red);
    EXPECT_EQ(middle(icons.icon(path(u"B.appimage"_s))), red);
    EXPECT_EQ(middle(icons.icon(path(u"C.AppImage"_s))), blue);
    EXPECT_EQ(icons.icon(path(u"D.AppImage"_s)), icons.genericIcon());
}
