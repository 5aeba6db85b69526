#pragma once

#include "Platform/ClickMonitor.h"

#include <utility>

namespace corvid {

/** A test clicks. */
class FakeClickMonitor final : public ClickMonitor {
public:
    std::unique_ptr<Token> install(Handler newHandler) override {
        if (refuses)
            return nullptr;
        handler = std::move(newHandler);
        return std::make_unique<Installed>(installed);
    }

    /** Does nothing while no monitor is in force. */
    void click(const QPoint &pointer) const {
        if (installed > 0)
            handler(pointer);
    }

    int installed = 0;
    bool refuses = false;
    Handler handler;

private:
    class Installed final : public Token {
    public:
        explicit Installed(int &count) : count_(count) { ++count_; }
        ~Installed() override { --count_; }

    private:
        int &count_;
    };
};

} // namespace corvid
