#include "Platform/Linux/Icons/IconLoader.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

// Here the application object is a QCoreApplication, as in a diagnostic mode without a display.

TEST(IconLoaderWithoutScreen, picturesAndStandInsAreThereAndDrawingsAreLeftOut) {
    const QTemporaryDir folder;
    const QString png = folder.filePath(u"x.png"_s);
    QImage image(32, 32, QImage::Format_RGB32);
    image.fill(QColor(255, 0, 0));
    ASSERT_TRUE(image.save(png, "PNG"));

    const IconLoader icons([] { return u"t"_s; }, {}, 2);
    EXPECT_EQ(icons.genericIcon()->size(), QSize(64, 64));
    EXPECT_EQ(icons.icon(folder.path())->size(), QSize(64, 64));
    EXPECT_EQ(icons.named(png)->pixelColor(32, 32), QColor(255, 0, 0));
    EXPECT_EQ(icons.named(QStringLiteral(CORVID_TEST_FIXTURES "/icons/text.svg")), nullptr);
}
