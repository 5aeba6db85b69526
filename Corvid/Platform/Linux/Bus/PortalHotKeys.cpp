#include "Platform/Linux/Bus/PortalHotKeys.h"

#include "Platform/Linux/Bus/PortalShortcut.h"

#include <stop_token>
#include <utility>

namespace corvid {

PortalHotKeys::PortalHotKeys(TokenReceiver receiveToken, std::chrono::milliseconds longestRepeat)
    : receiveToken_(std::move(receiveToken)), longestRepeat_(longestRepeat),
      context_(g_main_context_new(), g_main_context_unref) {}

PortalHotKeys::~PortalHotKeys() {
    release();
}

void PortalHotKeys::grab(const HotKey &hotKey, Callbacks callbacks) {
    makeWish(hotKey, std::move(callbacks));
    if (!thread_.joinable())
        thread_ = std::jthread([this](const std::stop_token &stop) { run(stop); });
}

void PortalHotKeys::release() {
    makeWish(std::nullopt, {});
}

void PortalHotKeys::dealtWith(quint32 /*time*/, NextKeys /*nextKeys*/) {
    if (std::exchange(tokenIsOut_, false))
        receiveToken_({});
}

void PortalHotKeys::makeWish(std::optional<HotKey> hotKey, Callbacks callbacks) {
    {
        const std::scoped_lock lock(mutex_);
        wish_ = {hotKey, std::move(callbacks), wish_.number + 1};
    }
    g_main_context_wakeup(context_.get());
}

void PortalHotKeys::run(const std::stop_token &stop) {
    const GObjectPointer<GCancellable> cancellable(g_cancellable_new());
    // Cancelled before it is woken, or it would go back to sleep.
    const std::stop_callback end(stop, [&] {
        g_cancellable_cancel(cancellable.get());
        g_main_context_wakeup(context_.get());
    });
    std::uint64_t granted = 0;
    const auto tell = [&](const auto &what) {
        const std::scoped_lock lock(mutex_);
        if (wish_.hotKey && wish_.number == granted)
            what(wish_.callbacks);
    };
    const auto pressed = [&](const QByteArray &token) {
        tell([&](const Callbacks &callbacks) {
            if (receiveToken_ && !token.isEmpty())
                QMetaObject::invokeMethod(
                    &receiver_,
                    [this, token] {
                        tokenIsOut_ = true;
                        receiveToken_(token);
                    },
                    Qt::QueuedConnection);
            callbacks.pressed(0);
        });
    };
    const auto answered = [&](bool obtained) {
        tell([&](const Callbacks &callbacks) { callbacks.answered(obtained); });
    };
    PortalShortcut shortcut(context_.get(), cancellable.get(), longestRepeat_, {pressed, answered});
    while (!stop.stop_requested()) {
        std::optional<HotKey> wanted;
        bool changed = false;
        {
            const std::scoped_lock lock(mutex_);
            changed = std::exchange(granted, wish_.number) != wish_.number;
            wanted = wish_.hotKey;
        }
        if (changed)
            shortcut.want(wanted);
        else
            g_main_context_iteration(context_.get(), TRUE);
    }
}

} // namespace corvid
