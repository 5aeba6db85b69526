#include "Platform/Linux/Wayland/LayerCovers.h"

#include "Platform/Linux/QtInternals.h"

#include <QGuiApplication>
#include <QRegion>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>

namespace corvid {

namespace {

// Null when the system has no memory file to give.
WaylandPointer<wl_buffer> makeTransparentPixel(wl_shm *shm) {
    constexpr int bytes = 4;
    const int file = memfd_create("corvid", MFD_CLOEXEC);
    if (file < 0)
        return nullptr;
    WaylandPointer<wl_buffer> buffer;
    if (ftruncate(file, bytes) == 0) {
        wl_shm_pool *pool = wl_shm_create_pool(shm, file, bytes);
        buffer.reset(wl_shm_pool_create_buffer(pool, 0, 1, 1, bytes, WL_SHM_FORMAT_ARGB8888));
        wl_shm_pool_destroy(pool);
    }
    close(file);
    return buffer;
}

} // namespace

/** A transparent surface. */
class LayerCovers::Pane {
public:
    /** All over an output. */
    Pane(const LayerShell &shell, wl_buffer *pixel, wl_output *output) : Pane(shell) {
        const LayerSurface::Place everywhere{.coversBars = true};
        role_ = std::make_unique<LayerSurface>(shell, surface_.get(), output, everywhere);
        role_->attend(); // the shell's queue is read only while the panel is being shown
        role_->onSize = [this, pixel](const QSize &size) {
            if (!size.isEmpty())
                paint(pixel, size);
        };
    }

    /** A part of the panel, reaching beyond its edges: of two surfaces in the same layer, each
        compositor decides by itself which one is above. Not below the panel's card, which a
        compositor that draws without a graphics card would mix with it at every letter. */
    Pane(const LayerShell &shell, wl_buffer *pixel, wl_surface *panel, const QRect &place)
        : Pane(shell) {
        part_ = shell.makePart(surface_.get(), panel);
        wl_subsurface_place_below(part_.get(), panel);
        wl_subsurface_set_position(part_.get(), place.x(), place.y());
        paint(pixel, place.size());
    }

    const void *surface() const { return surface_.get(); }

private:
    explicit Pane(const LayerShell &shell)
        : surface_(shell.makeSurface()),
          viewport_(wp_viewporter_get_viewport(shell.viewporter.get(), surface_.get())) {}

    void paint(wl_buffer *pixel, const QSize &size) {
        wp_viewport_set_destination(viewport_.get(), size.width(), size.height());
        wl_surface_attach(surface_.get(), pixel, 0, 0);
        wl_surface_commit(surface_.get());
        // sway takes what the last commit changed for changed at each one of the panel's: it would
        // draw the whole output for every letter.
        wl_surface_commit(surface_.get());
    }

    WaylandPointer<wl_surface> surface_;
    WaylandPointer<wp_viewport> viewport_;
    WaylandPointer<wl_subsurface> part_; ///< either this
    std::unique_ptr<LayerSurface> role_; ///< or that
};

class LayerCovers::Presses final : public ClickMonitor::Token {
public:
    Presses(LayerCovers &covers, Handler handler) : covers_(covers) {
        covers_.handler_ = std::move(handler);
    }
    ~Presses() override { covers_.handler_ = {}; }

private:
    LayerCovers &covers_;
};

LayerCovers::LayerCovers(std::shared_ptr<const LayerShell> shell) : shell_(std::move(shell)) {
    if (shell_->viewporter)
        pixel_ = makeTransparentPixel(shell_->shm.get());
}

LayerCovers::~LayerCovers() {
    clear();
}

std::unique_ptr<ClickMonitor::Token> LayerCovers::install(Handler handler) {
    return std::make_unique<Presses>(*this, std::move(handler));
}

void LayerCovers::spread(QWindow &panel, const QRect &card) {
    clear();
    if (!pixel_)
        return;
    panel_ = &panel;
    card_ = card;
    // Not before: a compositor without a graphics card draws all of its output anew for what covers
    // it, though nothing of that is to be seen, and the panel would wait.
    showing_.reset(wl_surface_frame(qt::surfaceOf(panel)));
    static constexpr wl_callback_listener listener{[](void *data, auto...) {
        auto *self = static_cast<LayerCovers *>(data);
        self->showing_.reset();
        self->cover();
    }};
    wl_callback_add_listener(showing_.get(), &listener, this);
}

void LayerCovers::cover() {
    // First: the pointer may be where they come.
    clicks_ = std::make_unique<SeatEvents>(
        *shell_->connection,
        std::initializer_list<SeatEvents::Device>{{WL_SEAT_GET_POINTER, &wl_pointer_interface},
                                                  {WL_SEAT_GET_TOUCH, &wl_touch_interface}},
        [this](std::string_view event, const wl_argument *arguments) { hear(event, arguments); });
    int reach = 0;
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (const QScreen *screen : screens)
        reach = std::max({reach, screen->size().width(), screen->size().height()});
    const QMargins around(reach, reach, reach, reach);
    wl_surface *panel = qt::surfaceOf(*panel_);
    for (const QRect &place : QRegion(card_.marginsAdded(around)).subtracted(card_))
        strips_.push_back(std::make_unique<Pane>(*shell_, pixel_.get(), panel, place));
    wl_surface_commit(panel); // its parts come with that
    // Which is the compositor's choice.
    screenChange_ = QObject::connect(panel_, &QWindow::screenChanged,
                                     [this](const QScreen *screen) { coverOthers(screen); });
    coverOthers(panel_->screen());
}

void LayerCovers::coverOthers(const QScreen *screen) {
    covers_.clear();
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (QScreen *other : screens) {
        if (other == screen)
            continue;
        if (wl_output *output = qt::outputOf(*other))
            covers_.push_back(std::make_unique<Pane>(*shell_, pixel_.get(), output));
    }
}

void LayerCovers::clear() {
    showing_.reset();
    clicks_.reset();
    pointerIsOver_ = false;
    QObject::disconnect(screenChange_);
    covers_.clear();
    strips_.clear();
}

bool LayerCovers::isOurs(const void *surface) const {
    const auto is = [surface](const auto &pane) { return pane->surface() == surface; };
    return std::ranges::any_of(strips_, is) || std::ranges::any_of(covers_, is);
}

// Qt hears of these presses, too, and ignores what is on surfaces that are not its own.
void LayerCovers::hear(std::string_view event, const wl_argument *arguments) {
    bool pressed = false;
    if (event == "enter") { // serial, surface, place
        pointerIsOver_ = isOurs(arguments[1].o);
    } else if (event == "leave") {
        pointerIsOver_ = false;
    } else if (event == "button") { // serial, time, button, state
        const std::uint32_t button = arguments[2].u;
        pressed = pointerIsOver_ && arguments[3].u == WL_POINTER_BUTTON_STATE_PRESSED &&
                  (button == BTN_LEFT || button == BTN_RIGHT);
    } else if (event == "down") { // serial, time, surface, finger, place
        pressed = isOurs(arguments[2].o);
    }
    if (pressed && handler_)
        handler_({});
}

} // namespace corvid
