#pragma once

#include <QKeyEvent>

namespace corvid {

/**
 * Tells a key that is held from one that is pressed again. Qt knows by the events that repeat it
 * coming in pairs; where a busy machine tears a pair apart, it takes the second for a press. Such a
 * press has the very time of the release before it, as no finger is that quick. Main thread only.
 */
class HeldKey {
public:
    void released(const QKeyEvent &event) {
        key_ = event.key();
        released_ = event.timestamp();
    }

    /** Whether a press repeats the one before. */
    bool repeatsWith(const QKeyEvent &press) const {
        return press.isAutoRepeat() || (press.key() == key_ && press.timestamp() == released_);
    }

private:
    int key_ = Qt::Key_unknown;
    quint64 released_ = 0;
};

} // namespace corvid
