#pragma once

#include <QAbstractNativeEventFilter>

#include <cstdint>
#include <functional>

namespace corvid {

/**
 * Tells when one of our windows gets the keyboard after a press of the hot key, and hides the hot
 * key's own modifiers from it. Sees the events of Qt's connection before Qt does, so it is in time
 * for the first key. Main thread only; on another platform than X11 nothing ever happens.
 */
class X11KeyHandover final : public QAbstractNativeEventFilter {
public:
    /** Needs the application object. */
    X11KeyHandover();

    /** Calls `arrived` once, when one of our windows next gets the keyboard. Replaces the call
        before. Our windows do not see these modifiers until they are released, for a person who
        types fast may still hold the hot key. */
    void await(std::uint16_t modifiers, std::function<void()> arrived);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    std::function<void()> arrived_;
    /** Those of the hot key's modifiers that have been held ever since the press. */
    std::uint16_t held_ = 0;
};

} // namespace corvid
