#pragma once

#include <QAbstractNativeEventFilter>

#include <cstdint>
#include <functional>

namespace corvid {

/**
 * Sees to it that a window of ours can take over the keyboard from the hot key. It watches the
 * connection to the X server that the windows are on, so it knows of the keyboard as soon as a key
 * can reach them, whatever else the windows make of it. Main thread only; on another platform than
 * X11 it never hears anything.
 */
class X11KeyHandover final : public QAbstractNativeEventFilter {
public:
    /** Needs the application object. */
    X11KeyHandover();

    /** Calls `arrived` once, when one of our windows next gets the keyboard; not any more once it
        was called again for another press. The modifiers do not count in our windows until they
        are let go: a person who types fast may not have let go of the hot key. */
    void await(std::uint16_t modifiers, std::function<void()> arrived);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    std::function<void()> arrived_;
    /** Those of the hot key's modifiers that have been held without a break since the press. */
    std::uint16_t held_ = 0;
};

} // namespace corvid
