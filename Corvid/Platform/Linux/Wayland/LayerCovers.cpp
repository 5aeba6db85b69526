#include "Platform/Linux/Wayland/LayerCovers.h"

#include "Platform/Linux/Wayland/WaylandSurface.h"
#include "viewporter-client-protocol.h"

#include <QGuiApplication>
#include <QRegion>
#include <QScreen>
#include <QWindow>

#include <qpa/qplatformnativeinterface.h>

#include <algorithm>
#include <cstring>
#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <wayland-client.h>

namespace corvid {

namespace {

// Null when the system has no memory file to give.
wl_buffer *makeTransparentPixel(wl_shm *shm) {
    constexpr int bytes = 4;
    const int file = memfd_create("corvid", MFD_CLOEXEC);
    if (file < 0)
        return nullptr;
    wl_buffer *buffer = nullptr;
    if (ftruncate(file, bytes) == 0) {
        wl_shm_pool *pool = wl_shm_create_pool(shm, file, bytes);
        buffer = wl_shm_pool_create_buffer(pool, 0, 1, 1, bytes, WL_SHM_FORMAT_ARGB8888);
        wl_shm_pool_destroy(pool);
    }
    close(file);
    return buffer;
}

} // namespace

/** A surface of nothing, of any size. */
class LayerCovers::Pane {
public:
    explicit Pane(const LayerShell &shell)
        : surface_(wl_compositor_create_surface(shell.compositor())),
          viewport_(wp_viewporter_get_viewport(shell.viewporter(), surface_)) {}
    Pane(const Pane &) = delete;
    Pane &operator=(const Pane &) = delete;
    ~Pane() {
        wp_viewport_destroy(viewport_);
        wl_surface_destroy(surface_);
    }

    /** Only with a role. */
    void show(wl_buffer *pixel, const QSize &size) {
        wp_viewport_set_destination(viewport_, size.width(), size.height());
        wl_surface_attach(surface_, pixel, 0, 0);
        wl_surface_commit(surface_);
    }
    wl_surface *surface() const { return surface_; }

private:
    wl_surface *surface_;
    wp_viewport *viewport_;
};

class LayerCovers::Cover {
public:
    Cover(const LayerShell &shell, wl_buffer *pixel, wl_output *output)
        : pane_(shell), role_(shell, pane_.surface(), output, everywhere()) {
        role_.attend(); // made at any moment, not only where the shell waits for answers
        role_.onSize = [this, pixel](const QSize &size) {
            if (!size.isEmpty())
                pane_.show(pixel, size);
        };
    }

    const void *surface() const { return pane_.surface(); }

private:
    static LayerSurface::Place everywhere() {
        LayerSurface::Place place;
        place.room = LayerSurface::Room::Whole;
        return place;
    }

    Pane pane_;
    LayerSurface role_;
};

// Which of two surfaces of the same layer lies above the other is each compositor's own rule, so on
// the panel's output the covers are parts of the panel's, reaching beyond its edges. Not below its
// card: a compositor that draws without a graphics card would mix both at every letter.
class LayerCovers::Strip {
public:
    Strip(const LayerShell &shell, wl_buffer *pixel, QWindow &panel, const QRect &place)
        : pane_(shell), part_(wl_subcompositor_get_subsurface(shell.subcompositor(),
                                                              pane_.surface(), surfaceOf(panel))) {
        wl_subsurface_place_below(part_, surfaceOf(panel));
        wl_subsurface_set_position(part_, place.x(), place.y());
        wl_subsurface_set_desync(part_);
        pane_.show(pixel, place.size());
    }
    Strip(const Strip &) = delete;
    Strip &operator=(const Strip &) = delete;
    ~Strip() { wl_subsurface_destroy(part_); }

    const void *surface() const { return pane_.surface(); }

private:
    Pane pane_;
    wl_subsurface *part_;
};

LayerCovers::LayerCovers(std::shared_ptr<const LayerShell> shell) : shell_(std::move(shell)) {
    if (shell_->viewporter())
        pixel_ = makeTransparentPixel(shell_->shm());
}

LayerCovers::~LayerCovers() {
    clear();
    if (pixel_)
        wl_buffer_destroy(pixel_);
}

void LayerCovers::spread(QWindow &panel, const QRect &card) {
    clear();
    if (!pixel_)
        return;
    int reach = 0;
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (const QScreen *screen : screens)
        reach = std::max({reach, screen->size().width(), screen->size().height()});
    const QMargins around(reach, reach, reach, reach);
    for (const QRect &place : QRegion(card.marginsAdded(around)).subtracted(card))
        strips_.push_back(std::make_unique<Strip>(*shell_, pixel_, panel, place));
    // The compositor chooses the panel's output, and tells when the panel is painted on it.
    screenChange_ = QObject::connect(&panel, &QWindow::screenChanged,
                                     [this](const QScreen *screen) { coverOthers(screen); });
    coverOthers(panel.screen());
    listen();
}

void LayerCovers::coverOthers(const QScreen *screen) {
    covers_.clear();
    QPlatformNativeInterface *native = QGuiApplication::platformNativeInterface();
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (QScreen *other : screens) {
        if (other == screen)
            continue;
        if (auto *output =
                static_cast<wl_output *>(native->nativeResourceForScreen("output", other)))
            covers_.push_back(std::make_unique<Cover>(*shell_, pixel_, output));
    }
}

void LayerCovers::clear() {
    if (pointer_)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(std::exchange(pointer_, nullptr)));
    if (touch_)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(std::exchange(touch_, nullptr)));
    pointerIsOver_ = false;
    QObject::disconnect(screenChange_);
    covers_.clear();
    strips_.clear();
}

// Qt hears of these presses too, and ignores what is on surfaces that are not its own.
void LayerCovers::listen() {
    if (!shell_->hasSeat())
        return;
    QPlatformNativeInterface *native = QGuiApplication::platformNativeInterface();
    auto *seat = static_cast<wl_seat *>(native->nativeResourceForIntegration("wl_seat"));
    // A seat must not be asked for what it does not have. Qt has what there is.
    if (native->nativeResourceForIntegration("wl_pointer")) {
        pointer_ = wl_seat_get_pointer(seat);
        wl_proxy_add_dispatcher(reinterpret_cast<wl_proxy *>(pointer_), dispatch, this, nullptr);
    }
    if (native->nativeResourceForIntegration("wl_touch")) {
        touch_ = wl_seat_get_touch(seat);
        wl_proxy_add_dispatcher(reinterpret_cast<wl_proxy *>(touch_), dispatch, this, nullptr);
    }
}

bool LayerCovers::isOurs(const void *surface) const {
    const auto is = [surface](const auto &cover) { return cover->surface() == surface; };
    return std::any_of(strips_.begin(), strips_.end(), is) ||
           std::any_of(covers_.begin(), covers_.end(), is);
}

// Not a table of functions: the seat is Qt's, whose version may have events that we do not know.
int LayerCovers::dispatch(const void *self, void * /*target*/, std::uint32_t /*opcode*/,
                          const wl_message *message, wl_argument *arguments) {
    const_cast<LayerCovers *>(static_cast<const LayerCovers *>(self))
        ->hear(message->name, arguments);
    return 0;
}

void LayerCovers::hear(const char *event, const wl_argument *arguments) {
    const auto is = [event](const char *name) { return std::strcmp(event, name) == 0; };
    bool pressed = false;
    if (is("enter")) { // serial, surface, place
        pointerIsOver_ = isOurs(arguments[1].o);
    } else if (is("leave")) {
        pointerIsOver_ = false;
    } else if (is("button")) { // serial, time, button, state
        const std::uint32_t button = arguments[2].u;
        pressed = pointerIsOver_ && arguments[3].u == WL_POINTER_BUTTON_STATE_PRESSED &&
                  (button == BTN_LEFT || button == BTN_RIGHT);
    } else if (is("down")) { // serial, time, surface, finger, place
        pressed = isOurs(arguments[2].o);
    }
    if (pressed && onPress)
        onPress();
}

} // namespace corvid
