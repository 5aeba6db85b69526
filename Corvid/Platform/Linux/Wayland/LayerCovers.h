#pragma once

#include "Platform/ClickMonitor.h"
#include "Platform/Linux/Wayland/LayerShell.h"

#include <QObject>

#include <memory>
#include <vector>

class QScreen;
class QWindow;

union wl_argument;
struct wl_buffer;
struct wl_message;
struct wl_pointer;
struct wl_touch;

namespace corvid {

/**
 * Transparent surfaces over all outputs, which get the clicks that are not the panel's: on Wayland
 * nobody sees clicks that go to others. Such a click does not reach what lies below. Main thread
 * only.
 */
class LayerCovers {
public:
    explicit LayerCovers(std::shared_ptr<const LayerShell> shell);
    LayerCovers(const LayerCovers &) = delete;
    LayerCovers &operator=(const LayerCovers &) = delete;
    ~LayerCovers();

    /** Asks the compositor for them, with the panel's window above; `card` is the part of it whose
        clicks are its own. The window must have a surface that has not been painted yet. Where it
       cannot scale a pixel to an output there are none. */
    void spread(QWindow &panel, const QRect &card);
    /** Takes them away, before the panel's surface goes. */
    void clear();

    /** Called at a press of the left or right button, or a touch, on one of them. */
    std::function<void()> onPress;

private:
    class Cover;
    class Pane;
    class Strip;

    void coverOthers(const QScreen *screen);
    bool isOurs(const void *surface) const;
    void listen();
    static int dispatch(const void *self, void *target, std::uint32_t opcode,
                        const wl_message *message, wl_argument *arguments);
    void hear(const char *event, const wl_argument *arguments);

    std::shared_ptr<const LayerShell> shell_;
    wl_buffer *pixel_ = nullptr;                 ///< one transparent pixel
    std::vector<std::unique_ptr<Strip>> strips_; ///< on the panel's output
    std::vector<std::unique_ptr<Cover>> covers_; ///< on the others
    QMetaObject::Connection screenChange_;       ///< of the panel
    wl_pointer *pointer_ = nullptr;              ///< null while there are none, or no mouse
    wl_touch *touch_ = nullptr;
    bool pointerIsOver_ = false;
};

} // namespace corvid
