#include "Panel/RowPainting.h"

#include "Panel/Style.h"

#include <QImage>
#include <QPainter>
#include <QStyleOptionViewItem>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Look {
    QFont font = style::font();
    Qt::LayoutDirection direction = Qt::LeftToRight;
    QStyle::State state = QStyle::State_Enabled;
    int width = style::panelWidth - 2 * style::listInset;
};

Look backwards() {
    Look look;
    look.direction = Qt::RightToLeft;
    return look;
}

ResultItem project(const QString &name) {
    ResultItem item;
    item.title = name;
    item.subtitle = u"~/Code/"_s + name;
    item.badge = u"Rust"_s;
    item.branch = u"main"_s;
    return item;
}

QImage painted(RowPainter &painter, const ResultItem &item, const Look &look) {
    QImage image(look.width, style::rowHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    QStyleOptionViewItem option;
    option.rect = image.rect();
    option.font = look.font;
    option.direction = look.direction;
    option.state = look.state;
    QPainter to(&image);
    painter.paint(to, option, item, false);
    return image;
}

QImage paintedAlone(const ResultItem &item, const Look &look) {
    RowPainter painter;
    return painted(painter, item, look);
}

} // namespace

TEST(RowPaintingTest, whatWasLaidOutBeforeIsNeverShownInAnothersPlace) {
    Look larger;
    larger.font.setPixelSize(30);
    larger.font.setFamily(u"DejaVu Serif"_s);
    Look selected;
    selected.state |= QStyle::State_Selected;
    Look narrow;
    narrow.width = 200;
    const Look looks[]{{}, larger, backwards(), selected, narrow, {}};
    RowPainter painter;
    for (const Look &look : looks) {
        for (const QString &name : {u"corvid"_s, u"raven"_s, QString(300, u'm'), u"corvid"_s})
            EXPECT_EQ(painted(painter, project(name), look), paintedAlone(project(name), look));
    }
}

TEST(RowPaintingTest, aNameThatIsTooLongIsCutWithinItsRow) {
    const QImage lone = paintedAlone(project(QString(300, u'm')), {});
    ResultItem bare = project(QString(300, u'm'));
    bare.title = bare.title.left(250);
    EXPECT_EQ(lone, paintedAlone(bare, {})) << "all that is seen of both is the same";
}

TEST(RowPaintingTest, whereOneReadsFromTheRightTheTextBeginsThere) {
    ResultItem item;
    item.title = u"abc"_s;
    const QImage left = paintedAlone(item, {});
    const QImage right = paintedAlone(item, backwards());
    const auto inkIn = [](const QImage &image, int from, int to) {
        for (int x = from; x < to; ++x)
            for (int y = 0; y < image.height(); ++y)
                if (image.pixel(x, y) != qRgb(0, 0, 0))
                    return true;
        return false;
    };
    const int middle = left.width() / 2;
    EXPECT_TRUE(inkIn(left, 0, middle));
    EXPECT_FALSE(inkIn(left, middle, left.width()));
    EXPECT_FALSE(inkIn(right, 0, middle));
    EXPECT_TRUE(inkIn(right, middle, right.width()));
    constexpr int beside = style::rowPaddingX + style::rowIconSize + style::iconToText;
    EXPECT_FALSE(inkIn(right, right.width() - beside + 1, right.width())) << "the icon's place";
}
