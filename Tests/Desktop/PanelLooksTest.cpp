// The panel's edges, shadow and caret as the X server has them, at several scales.

#include "DesktopTest.h"
#include "Platform/Linux/X11/X11Replies.h"
#include "Worlds/CompositorClaim.h"

#include <QRect>
#include <QRegion>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>
#include <xcb/shape.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class PanelLooksTest : public DesktopTest, public ::testing::WithParamInterface<const char *> {
protected:
    PanelLooksTest()
        : DesktopTest(XServer::Manager::Openbox, u"1600x1200x24"_s),
          connection_(x11::connectTo(server.display())), root_(x11::rootOf(connection_, 0)) {}

    void launchScaled() {
        QProcessEnvironment scaled;
        scaled.insert(u"QT_SCALE_FACTOR"_s, QString::fromLatin1(GetParam()));
        launch({u"--sticky"_s}, scaled);
        panel_ = xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s}).toUInt();
    }
    int pixels(qreal distance) const {
        return qRound(distance * QByteArray(GetParam()).toDouble());
    }

    /** On the screen. */
    QRect placeOf(xcb_window_t window) const {
        const x11::Reply<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        const x11::Reply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
            connection_, xcb_translate_coordinates(connection_, window, root_, 0, 0), nullptr));
        return size && origin ? QRect(origin->dst_x, origin->dst_y, size->width, size->height)
                              : QRect();
    }
    QRect panel() const { return placeOf(panel_); }
    QRect aroundPanel() const {
        return panel().adjusted(-pixels(60), -pixels(36), pixels(60), pixels(84));
    }
    /** The one window that is shown there and that no window manager manages. */
    xcb_window_t unmanagedAt(const QRect &place) const {
        const x11::Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr));
        const xcb_window_t *windows = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const x11::Reply<xcb_get_window_attributes_reply_t> attributes(
                xcb_get_window_attributes_reply(
                    connection_, xcb_get_window_attributes(connection_, windows[i]), nullptr));
            if (attributes && attributes->override_redirect &&
                attributes->map_state == XCB_MAP_STATE_VIEWABLE && placeOf(windows[i]) == place)
                return windows[i];
        }
        return XCB_NONE;
    }
    bool castsShadow() const { return unmanagedAt(aroundPanel()) != XCB_NONE; }
    QRegion shapeOf(xcb_window_t window, xcb_shape_sk_t kind) const {
        const x11::Reply<xcb_shape_get_rectangles_reply_t> reply(xcb_shape_get_rectangles_reply(
            connection_, xcb_shape_get_rectangles(connection_, window, kind), nullptr));
        QRegion region;
        const xcb_rectangle_t *each = xcb_shape_get_rectangles_rectangles(reply.get());
        for (int i = 0; i < xcb_shape_get_rectangles_rectangles_length(reply.get()); ++i)
            region += QRect(each[i].x, each[i].y, each[i].width, each[i].height);
        return region;
    }
    /** How many pixels of the card's field look like the caret: far more blue than red. */
    int bluePixels() const {
        const QRect field = QRect(panel().topLeft(), QSize(panel().width(), pixels(60)));
        const x11::Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            connection_,
            xcb_get_image(
                connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<std::int16_t>(field.x()),
                static_cast<std::int16_t>(field.y()), static_cast<std::uint16_t>(field.width()),
                static_cast<std::uint16_t>(field.height()), ~0U),
            nullptr));
        const std::uint8_t *bytes = xcb_get_image_data(image.get());
        int count = 0;
        for (int i = 0; i + 3 < xcb_get_image_data_length(image.get()); i += 4)
            count += bytes[i] > bytes[i + 2] + 16 ? 1 : 0;
        return count;
    }

    /** As a compositor announces it. */
    void announceBlur(bool blurs) const {
        xcb_atom_t region = XCB_ATOM_NONE;
        x11::intern(connection_, {{&region, "_KDE_NET_WM_BLUR_BEHIND_REGION"}});
        if (blurs)
            x11::setNumbers(connection_, root_, region, region, {0});
        else
            xcb_delete_property(connection_, root_, region);
        xcb_flush(connection_);
    }
    /** Of the card beside its field, from 0 to 255. */
    int opacity() const {
        const x11::Reply<xcb_get_image_reply_t> image(
            xcb_get_image_reply(connection_,
                                xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, panel_,
                                              static_cast<std::int16_t>(pixels(330)),
                                              static_cast<std::int16_t>(pixels(4)), 1, 1, ~0U),
                                nullptr));
        return image ? xcb_get_image_data(image.get())[3] : -1;
    }
    void showAnew() const {
        press(u"Escape"_s);
        ASSERT_TRUE(eventually([this] { return !panelIsVisible(); }));
        press(u"alt+k"_s);
        ASSERT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    }

private:
    x11::Connection connection_;
    xcb_window_t root_;

protected:
    xcb_window_t panel_ = XCB_NONE;
};

std::string nameOf(const ::testing::TestParamInfo<const char *> &info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '.', '_');
    return "scale" + name;
}
INSTANTIATE_TEST_SUITE_P(At, PanelLooksTest, ::testing::Values("1", "1.5", "2"), nameOf);

} // namespace

TEST_P(PanelLooksTest, aShadowLiesAroundItWhereACompositorRuns) {
    const CompositorClaim compositor(server.display());
    launchScaled();
    EXPECT_EQ(panel().size(), QSize(pixels(660), pixels(440))) << "the window is the card";
    ASSERT_TRUE(eventually([this] { return castsShadow(); }));
    const xcb_window_t shadow = unmanagedAt(aroundPanel());
    EXPECT_TRUE(shapeOf(shadow, XCB_SHAPE_SK_INPUT).isEmpty()) << "clicks go to what lies below";
    const QPoint middle = panel().center() - aroundPanel().topLeft();
    const QRegion covered = shapeOf(shadow, XCB_SHAPE_SK_BOUNDING);
    EXPECT_FALSE(covered.contains(middle)) << "nothing of the card is covered";
    EXPECT_TRUE(covered.contains(QPoint(pixels(30), middle.y())));
}

TEST_P(PanelLooksTest, itsShadowComesGoesAndMovesWithIt) {
    const CompositorClaim compositor(server.display());
    launchScaled();
    ASSERT_TRUE(eventually([this] { return castsShadow(); }));
    const QRect before = aroundPanel();
    const QPoint grip = panel().bottomLeft() + QPoint(pixels(90), -pixels(12));
    const auto movePointer = [this](const QPoint &to) {
        xdotool({u"mousemove"_s, u"--sync"_s, QString::number(to.x()), QString::number(to.y())});
    };
    movePointer(grip);
    xdotool({u"mousedown"_s, u"1"_s});
    for (int step = 1; step <= 4; ++step)
        movePointer(grip - QPoint(10 * step, 10 * step));
    xdotool({u"mouseup"_s, u"1"_s});
    EXPECT_TRUE(eventually([&] { return aroundPanel() != before && castsShadow(); }));
    press(u"Escape"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible() && !castsShadow(); }));
    press(u"alt+k"_s);
    EXPECT_TRUE(eventually([&] { return aroundPanel() == before && castsShadow(); }));
}

TEST_P(PanelLooksTest, noShadowIsCastWithoutACompositor) {
    std::optional<CompositorClaim> compositor(std::in_place, server.display());
    launchScaled();
    ASSERT_TRUE(eventually([this] { return castsShadow(); }));
    press(u"Escape"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    compositor.reset();
    press(u"alt+k"_s);
    EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    type(u"frob"_s); // it is painted, and what follows that is done
    EXPECT_TRUE(eventually([this] { return bluePixels() > 0; }));
    EXPECT_FALSE(castsShadow());
}

TEST_P(PanelLooksTest, aCompositorThatBeginsToBlurOrStopsIsHeard) {
    const CompositorClaim compositor(server.display());
    launchScaled();
    EXPECT_TRUE(eventually([this] { return opacity() == 255; }));
    for (const bool blurs : {true, false, true}) {
        announceBlur(blurs);
        showAnew();
        EXPECT_TRUE(eventually([&] { return opacity() == (blurs ? 209 : 255); })) << opacity();
    }
}

// A shape in steps of the program's own pixels looks like stairs where those are larger.
TEST_P(PanelLooksTest, itsCornersAreCutInThePixelsOfTheScreen) {
    launchScaled();
    const QRegion shape = shapeOf(panel_, XCB_SHAPE_SK_BOUNDING);
    EXPECT_EQ(shape.boundingRect(), QRect(QPoint(), panel().size()));
    int thinnest = panel().height();
    for (const QRect &band : shape)
        thinnest = std::min(thinnest, band.height());
    EXPECT_EQ(thinnest, 1);
}

TEST_P(PanelLooksTest, aCaretThatGoesOutLeavesNothing) {
    launchScaled();
    type(u"f"_s);
    for (int blink = 0; blink < 2; ++blink) {
        EXPECT_TRUE(eventually([this] { return bluePixels() > 0; }));
        EXPECT_TRUE(eventually([this] { return bluePixels() == 0; }));
    }
}
