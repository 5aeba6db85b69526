#pragma once

#include "Platform/HotKeyBackend.h"

#include <QObject>

#include <functional>
#include <optional>

class QKeyEvent;

namespace corvid {

/** A key that was pressed, and what was held or in effect. */
struct RecordedKey {
    quint32 keyCode = 0; ///< virtual key code
    ModifierFlags flags;

    bool operator==(const RecordedKey &) const = default;
};

/** What a key event of the toolkit's says. Absent for keys that no hot key can have, modifiers and
    locks among them. */
std::optional<RecordedKey> recordedKey(const QKeyEvent &event);

/**
 * Catches the next key combination that any window of ours is given: a key with at least one flag
 * set, be it that of Caps Lock or of a function key. Other keys go their way. Main thread only.
 */
class HotKeyRecorder final : public QObject {
    Q_OBJECT

public:
    /** `recorded` is called amid the key's event, which then goes nowhere. It may stop. */
    explicit HotKeyRecorder(std::function<void(const HotKey &)> recorded);

    void start();
    void stop();
    bool active() const { return active_; }

    bool eventFilter(QObject *object, QEvent *event) override;

private:
    std::function<void(const HotKey &)> recorded_;
    bool active_ = false;
};

} // namespace corvid
