#pragma once

#include "Platform/Linux/Wayland/LayerCovers.h"

namespace corvid {

/** The clicks on the surfaces that cover everything but the panel while it is shown. Their place
    is not known. One token at a time. */
class LayerClickMonitor final : public ClickMonitor {
public:
    explicit LayerClickMonitor(std::shared_ptr<LayerCovers> covers) : covers_(std::move(covers)) {}

    std::unique_ptr<Token> install(Handler handler) override;

private:
    std::shared_ptr<LayerCovers> covers_;
};

} // namespace corvid
