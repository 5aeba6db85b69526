#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <cstdint>

class QWindow;
struct xcb_connection_t;

namespace corvid {

/**
 * Hears at first hand what the X server says of the panel's window, over Qt's own connection, and
 * keeps from Qt what would only make a showing longer.
 * Main thread only; the application object must live longer.
 */
class X11PanelWatch final : public QObject, private QAbstractNativeEventFilter {
public:
    X11PanelWatch(xcb_connection_t *connection, std::uint32_t root);
    ~X11PanelWatch() override;

    /** Just before each show. */
    void prepare(QWindow &panel);

    /** Whether the window manager may still forget the states and the desktop that the panel's
        window was given for the present show: it has not forgotten those of the show before. */
    bool managerIsLate() const { return managerIsLate_; }

    /** Whether the compositor, if one runs, blurs what lies behind windows that ask for it. Waits
        for the server when that may have changed. */
    bool compositorBlurs();

private:
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    bool eventFilter(QObject *object, QEvent *event) override;
    bool isNothingForQt(std::uint32_t property) const;
    void propertyChanged(std::uint32_t property, bool isGone);
    void gotKeyboard();

    xcb_connection_t *connection_;
    std::uint32_t root_;
    struct {
        std::uint32_t state, managedState, desktop, blurRegion;
    } atoms_{};
    std::uint32_t window_ = 0; ///< the panel's, once it was prepared
    bool hasStates_ = false;
    bool hasDesktop_ = false;
    bool managerIsLate_ = false;
    enum class Blur { Unknown, No, Yes } blur_ = Blur::Unknown;
    bool lossIsUntold_ = false; ///< Qt does not know yet that the panel lost the keyboard
    bool hasAppeared_ = false;  ///< and Qt has not drawn it yet
    bool wasDrawn_ = false;     ///< just now, all of it
};

} // namespace corvid
