#include "Platform/Linux/ClipboardPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(ClipboardPasteboard, theTextReplacesWhateverWasThereAsPlainText) {
    auto *image = new QMimeData;
    image->setData(u"image/png"_s, "x");
    image->setHtml(u"<b>old</b>"_s);
    QGuiApplication::clipboard()->setMimeData(image);
    ClipboardPasteboard().setText(u"3.5 <b>x</b> \U0001F600"_s);
    const QMimeData *data = QGuiApplication::clipboard()->mimeData();
    EXPECT_EQ(data->text(), u"3.5 <b>x</b> \U0001F600");
    EXPECT_FALSE(data->hasHtml());
    EXPECT_FALSE(data->hasFormat(u"image/png"_s));
}

TEST(ClipboardPasteboard, anEmptyTextClearsAndIsSet) {
    QGuiApplication::clipboard()->setText(u"old"_s);
    ClipboardPasteboard().setText({});
    EXPECT_TRUE(QGuiApplication::clipboard()->mimeData()->hasText());
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"");
}
