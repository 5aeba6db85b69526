#include "Panel/HeldKey.h"

#include <gtest/gtest.h>

using namespace corvid;

namespace {

struct Event : QKeyEvent {
    Event(QEvent::Type type, int key, quint64 time, bool repeats = false)
        : QKeyEvent(type, key, Qt::NoModifier, QString(), repeats) {
        setTimestamp(time);
    }
};

} // namespace

TEST(HeldKey, whatQtTakesForARepeatIsOne) {
    EXPECT_TRUE(HeldKey().repeatsWith(Event(QEvent::KeyPress, Qt::Key_Return, 5, true)));
    EXPECT_FALSE(HeldKey().repeatsWith(Event(QEvent::KeyPress, Qt::Key_Return, 5)));
}

TEST(HeldKey, aPressAtTheTimeOfItsReleaseIsARepeatThatQtDidNotSee) {
    HeldKey held;
    held.released(Event(QEvent::KeyRelease, Qt::Key_Return, 5));
    EXPECT_TRUE(held.repeatsWith(Event(QEvent::KeyPress, Qt::Key_Return, 5)));
    EXPECT_FALSE(held.repeatsWith(Event(QEvent::KeyPress, Qt::Key_Return, 6)));
    EXPECT_FALSE(held.repeatsWith(Event(QEvent::KeyPress, Qt::Key_Enter, 5)));
}
