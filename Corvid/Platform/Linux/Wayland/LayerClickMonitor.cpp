#include "Platform/Linux/Wayland/LayerClickMonitor.h"

namespace corvid {

namespace {

class Presses final : public ClickMonitor::Token {
public:
    Presses(std::shared_ptr<LayerCovers> covers, ClickMonitor::Handler handler)
        : covers_(std::move(covers)) {
        covers_->onPress = [handler = std::move(handler)] { handler({}); };
    }
    ~Presses() override { covers_->onPress = {}; }

private:
    std::shared_ptr<LayerCovers> covers_;
};

} // namespace

std::unique_ptr<ClickMonitor::Token> LayerClickMonitor::install(Handler handler) {
    return std::make_unique<Presses>(covers_, std::move(handler));
}

} // namespace corvid
