#include "Platform/Linux/X11/X11ShadowWindow.h"

#include "Platform/Linux/X11/X11Replies.h"

#include <QRegion>

#include <xcb/shape.h>

#include <algorithm>

namespace corvid {

namespace {

constexpr std::uint8_t depth = 32;

/** What carries colours with transparency; 0 where the server has none. */
xcb_visualid_t translucentVisual(xcb_connection_t *connection, xcb_window_t root) {
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection)); screen.rem > 0;
         xcb_screen_next(&screen)) {
        if (screen.data->root != root)
            continue;
        for (auto depths = xcb_screen_allowed_depths_iterator(screen.data); depths.rem > 0;
             xcb_depth_next(&depths)) {
            if (depths.data->depth == depth && depths.data->visuals_len > 0)
                return xcb_depth_visuals(depths.data)->visual_id;
        }
    }
    return 0;
}

// In pieces that each fit into the shortest request that every server takes.
void upload(xcb_connection_t *connection, xcb_pixmap_t pixmap, const QImage &picture) {
    constexpr int longestRequest = 4 * 65'535 - 64;
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, pixmap, 0, nullptr);
    const int bytesPerLine = static_cast<int>(picture.bytesPerLine());
    const int atOnce = std::max(1, longestRequest / bytesPerLine);
    for (int line = 0; line < picture.height(); line += atOnce) {
        const int lines = std::min(atOnce, picture.height() - line);
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context,
                      static_cast<std::uint16_t>(picture.width()),
                      static_cast<std::uint16_t>(lines), 0, static_cast<std::int16_t>(line), 0,
                      depth, static_cast<std::uint32_t>(lines * bytesPerLine),
                      picture.constScanLine(line));
    }
    xcb_free_gc(connection, context);
}

} // namespace

X11ShadowWindow::X11ShadowWindow(const QImage &picture, const QRect &hole)
    : connection_(x11::connectionOfQt()), hole_(hole.topLeft()) {
    const xcb_window_t root = x11::rootOf(connection_, x11::screenOfQt());
    const xcb_visualid_t visual = translucentVisual(connection_, root);
    if (!visual)
        return;
    const auto width = static_cast<std::uint16_t>(picture.width());
    const auto height = static_cast<std::uint16_t>(picture.height());
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, depth, pixmap, root, width, height);
    upload(connection_, pixmap, picture.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    colours_ = xcb_generate_id(connection_);
    xcb_create_colormap(connection_, XCB_COLORMAP_ALLOC_NONE, colours_, root, visual);
    window_ = xcb_generate_id(connection_);
    const std::uint32_t values[]{pixmap, 0, 1, colours_};
    xcb_create_window(connection_, depth, window_, root, 0, 0, width, height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                          XCB_CW_COLORMAP,
                      values);
    xcb_free_pixmap(connection_, pixmap); // the window keeps it
    // The corners stay: there the picture lies around the round ones of the other window.
    const int corner = std::min({hole.width(), hole.height(), 2 * hole_.x(), 2 * hole_.y()}) / 2;
    x11::shape(connection_, window_, XCB_SHAPE_SK_BOUNDING,
               QRegion(picture.rect()) - hole.adjusted(corner, 0, -corner, 0) -
                   hole.adjusted(0, corner, 0, -corner));
    x11::shape(connection_, window_, XCB_SHAPE_SK_INPUT, {});
    // Compositors that shadow or blur behind every window leave out what has these.
    xcb_atom_t foreignShadow = 0;
    xcb_atom_t ownShadow = 0;
    x11::intern(connection_,
                {{&foreignShadow, "_COMPTON_SHADOW"}, {&ownShadow, "_GTK_FRAME_EXTENTS"}});
    x11::setNumbers(connection_, window_, foreignShadow, XCB_ATOM_CARDINAL, {0});
    x11::setNumbers(connection_, window_, ownShadow, XCB_ATOM_CARDINAL, {0, 0, 0, 0});
}

X11ShadowWindow::~X11ShadowWindow() {
    if (!window_)
        return;
    xcb_destroy_window(connection_, window_);
    xcb_free_colormap(connection_, colours_);
    xcb_flush(connection_);
}

void X11ShadowWindow::moveTo(const QPoint &other) {
    if (!window_)
        return;
    const QPoint place = other - hole_;
    const std::int32_t values[]{place.x(), place.y()};
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
    xcb_flush(connection_);
}

void X11ShadowWindow::show() {
    if (!window_)
        return;
    const std::uint32_t above[]{XCB_STACK_MODE_ABOVE};
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_STACK_MODE, above);
    xcb_map_window(connection_, window_);
    xcb_flush(connection_);
}

void X11ShadowWindow::hide() {
    if (!window_)
        return;
    xcb_unmap_window(connection_, window_);
    xcb_flush(connection_);
}

} // namespace corvid
