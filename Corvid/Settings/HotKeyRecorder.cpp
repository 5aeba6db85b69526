#include "Settings/HotKeyRecorder.h"

#include "Base/VirtualKeys.h"
#include "HotKeyManager.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <algorithm>
#include <utility>

namespace corvid {

namespace {

// Both on X11 and on Wayland, where xkbcommon says so.
constexpr quint32 capsLockBit = 1U << 1;

// By what a key does, wherever it is: layouts can put a modifier or a lock on any key.
constexpr int modifiersAndLocks[]{
    Qt::Key_Shift,   Qt::Key_Control,    Qt::Key_Alt,        Qt::Key_AltGr,   Qt::Key_Meta,
    Qt::Key_Super_L, Qt::Key_Super_R,    Qt::Key_Hyper_L,    Qt::Key_Hyper_R, Qt::Key_CapsLock,
    Qt::Key_NumLock, Qt::Key_ScrollLock, Qt::Key_Mode_switch};

} // namespace

std::optional<RecordedKey> recordedKey(const QKeyEvent &event) {
    const int key = event.key();
    if (std::ranges::find(modifiersAndLocks, key) != std::end(modifiersAndLocks))
        return std::nullopt;
    // No key has the code that comes of an event without a scan code.
    const VirtualKey *const position =
        findKey(&VirtualKey::evdev, event.nativeScanCode() - evdevOffset);
    if (!position)
        return std::nullopt;
    RecordedKey press{position->code, {}};
    press.flags.setFlag(ModifierFlag::Shift, event.modifiers().testFlag(Qt::ShiftModifier));
    press.flags.setFlag(ModifierFlag::Control, event.modifiers().testFlag(Qt::ControlModifier));
    press.flags.setFlag(ModifierFlag::Option, event.modifiers().testFlag(Qt::AltModifier));
    press.flags.setFlag(ModifierFlag::Command, event.modifiers().testFlag(Qt::MetaModifier));
    press.flags.setFlag(ModifierFlag::CapsLock, (event.nativeModifiers() & capsLockBit) != 0);
    press.flags.setFlag(ModifierFlag::NumericPad, event.modifiers().testFlag(Qt::KeypadModifier));
    press.flags.setFlag(ModifierFlag::Function, (key >= Qt::Key_F1 && key <= Qt::Key_F35) ||
                                                    (key >= Qt::Key_Left && key <= Qt::Key_Down));
    return press;
}

HotKeyRecorder::HotKeyRecorder(std::function<void(const HotKey &)> recorded)
    : recorded_(std::move(recorded)) {}

void HotKeyRecorder::start() {
    active_ = true;
    QCoreApplication::instance()->installEventFilter(this);
}

void HotKeyRecorder::stop() {
    active_ = false;
    QCoreApplication::instance()->removeEventFilter(this);
}

bool HotKeyRecorder::eventFilter(QObject * /*object*/, QEvent *event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride)
        return false;
    const std::optional<RecordedKey> press = recordedKey(*static_cast<QKeyEvent *>(event));
    if (!press || !press->flags)
        return false;
    if (event->type() == QEvent::ShortcutOverride) {
        // Or it would be a mnemonic instead of a key.
        event->accept();
        return true;
    }
    recorded_({press->keyCode, HotKeyManager::carbonFlags(press->flags)});
    return true;
}

} // namespace corvid
