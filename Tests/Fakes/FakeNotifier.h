#pragma once

#include "Platform/Notifier.h"

#include <utility>
#include <vector>

namespace corvid {

/** Keeps what it was given; a test delivers it and presses its button. */
class FakeNotifier final : public Notifier {
public:
    void notify(Notification notification) override { given.push_back(std::move(notification)); }

    std::vector<Notification> given;
};

} // namespace corvid
