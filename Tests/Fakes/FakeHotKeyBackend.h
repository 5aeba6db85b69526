#pragma once

#include "Platform/HotKeyBackend.h"

#include <QHash>

#include <optional>
#include <utility>
#include <vector>

namespace corvid {

/** Takes whatever it is asked for; a test presses it. */
class FakeHotKeyBackend final : public HotKeyBackend {
public:
    void grab(const HotKey &hotKey, Callbacks newCallbacks) override {
        if (grabbed)
            ++replacedWithoutRelease;
        grabbed = hotKey;
        grabs.push_back(hotKey);
        callbacks = std::move(newCallbacks);
    }
    void release() override {
        grabbed.reset();
        ++releases;
    }

    void dealtWith(quint32 time, NextKeys nextKeys) override { said.emplace_back(time, nextKeys); }

    QString keyName(quint32 keyCode) const override { return names.value(keyCode); }
    Desktop desktop() const override { return where; }

    /** Does nothing while nothing is grabbed. */
    void press(quint32 time = 0) const {
        if (grabbed)
            callbacks.pressed(time);
    }

    std::optional<HotKey> grabbed;
    std::vector<HotKey> grabs;
    Callbacks callbacks;
    /** What was said of each press. */
    std::vector<std::pair<quint32, NextKeys>> said;
    QHash<quint32, QString> names; ///< of keys
    Desktop where = Desktop::Unknown;
    int releases = 0;
    int replacedWithoutRelease = 0;
};

} // namespace corvid
