#include "Platform/Linux/LayerCovers.h"

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

class LayerCovers::Cover {
public:
    Cover(const LayerShell &shell, wl_buffer *pixel, wl_output *output)
        : surface_(wl_compositor_create_surface(shell.compositor())),
          viewport_(wp_viewporter_get_viewport(shell.viewporter(), surface_)) {
        LayerSurface::Place everywhere;
        everywhere.room = LayerSurface::Room::Whole;
        role_ = std::make_unique<LayerSurface>(shell, surface_, output, everywhere);
        role_->attend(); // made at any moment, not only where the shell waits for answers
        role_->onSize = [this, pixel](const QSize &size) {
            if (size.isEmpty())
                return;
            wp_viewport_set_destination(viewport_, size.width(), size.height());
            wl_surface_attach(surface_, pixel, 0, 0);
            wl_surface_commit(surface_);
        };
    }
    Cover(const Cover &) = delete;
    Cover &operator=(const Cover &) = delete;
    ~Cover() {
        role_.reset();
        wp_viewport_destroy(viewport_);
        wl_surface_destroy(surface_);
    }

    const void *surface() const { return surface_; }

private:
    wl_surface *surface_;
    wp_viewport *viewport_;
    std::unique_ptr<LayerSurface> role_;
};

// Which of two surfaces of the same layer lies above the other is each compositor's own rule, so on
// the panel's output they are parts of the panel's, reaching beyond its edges. Not below its card:
// a compositor that draws without a graphics card would mix both at every letter.
class LayerCovers::Backing {
public:
    Backing(const LayerShell &shell, wl_buffer *pixel, QWindow &panel, const QRect &card) {
        int reach = 0;
        const QList<QScreen *> screens = QGuiApplication::screens();
        for (const QScreen *screen : screens)
            reach = std::max({reach, screen->size().width(), screen->size().height()});
        const QMargins around(reach, reach, reach, reach);
        const QRegion region = QRegion(card.marginsAdded(around)).subtracted(card);
        for (const QRect &rectangle : region)
            strips_.push_back(std::make_unique<Strip>(shell, pixel, panel, rectangle));
    }

    bool has(const void *surface) const {
        return std::any_of(strips_.begin(), strips_.end(),
                           [surface](const auto &strip) { return strip->surface() == surface; });
    }

private:
    class Strip {
    public:
        Strip(const LayerShell &shell, wl_buffer *pixel, QWindow &panel, const QRect &place)
            : surface_(wl_compositor_create_surface(shell.compositor())),
              viewport_(wp_viewporter_get_viewport(shell.viewporter(), surface_)) {
            auto *above = static_cast<wl_surface *>(
                QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface",
                                                                                    &panel));
            part_ = wl_subcompositor_get_subsurface(shell.subcompositor(), surface_, above);
            wl_subsurface_place_below(part_, above);
            wl_subsurface_set_position(part_, place.x(), place.y());
            wl_subsurface_set_desync(part_);
            wp_viewport_set_destination(viewport_, place.width(), place.height());
            wl_surface_attach(surface_, pixel, 0, 0);
            wl_surface_commit(surface_);
        }
        Strip(const Strip &) = delete;
        Strip &operator=(const Strip &) = delete;
        ~Strip() {
            wp_viewport_destroy(viewport_);
            wl_subsurface_destroy(part_);
            wl_surface_destroy(surface_);
        }

        const void *surface() const { return surface_; }

    private:
        wl_surface *surface_;
        wp_viewport *viewport_;
        wl_subsurface *part_;
    };

    std::vector<std::unique_ptr<Strip>> strips_;
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
    backing_ = std::make_unique<Backing>(*shell_, pixel_, panel, card);
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
    backing_.reset();
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
    if (backing_ && backing_->has(surface))
        return true;
    return std::any_of(covers_.begin(), covers_.end(),
                       [&](const auto &cover) { return cover->surface() == surface; });
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
