#pragma once

#include "Platform/HotKeyBackend.h"

#include <QByteArray>

#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

namespace corvid {

/**
 * The hot key on an X11 display, whatever the platform that Qt draws on. A thread sleeps on a
 * connection of its own; it starts with the first combination that is asked for. Where there is
 * no display, or the display goes, no combination can be had until the next one is asked for.
 */
class X11HotKeys final : public HotKeyBackend {
public:
    /** An empty name is no display. */
    explicit X11HotKeys(QByteArray display);
    ~X11HotKeys() override;

    void grab(const HotKey &hotKey, Callbacks callbacks) override;
    void release() override;

private:
    struct Wish {
        std::optional<HotKey> hotKey;
        Callbacks callbacks;
        std::uint64_t number = 0;
    };

    void makeWish(std::optional<HotKey> hotKey, Callbacks callbacks);
    void run(const std::stop_token &stop);
    void wake() const;

    const QByteArray display_;
    const int wakeDescriptor_;
    /** Held while a callback runs, so that none runs after it was withdrawn. */
    std::mutex mutex_;
    Wish wish_;
    std::jthread thread_;
};

} // namespace corvid
