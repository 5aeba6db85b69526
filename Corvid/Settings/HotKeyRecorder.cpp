#include "Settings/HotKeyRecorder.h"

#include "Base/VirtualKeys.h"
#include "HotKeyManager.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <utility>

namespace corvid {

namespace {

// Both of X11 and of xkbcommon, which Wayland clients use.
constexpr quint32 capsLockBit = 1U << 1;

// By what the key does: who made another key of Caps Lock has a key there like any other.
bool isModifierOrLock(int key) {
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
    case Qt::Key_Mode_switch:
        return true;
    default:
        return false;
    }
}

bool isFunctionOrArrow(int key) {
    return (key >= Qt::Key_F1 && key <= Qt::Key_F35) ||
           (key >= Qt::Key_Left && key <= Qt::Key_Down);
}

} // namespace

std::optional<RecordedKey> recordedKey(const QKeyEvent &event) {
    if (isModifierOrLock(event.key()))
        return std::nullopt;
    const std::optional<quint32> keyCode = virtualKey(event.nativeScanCode() - evdevOffset);
    if (!keyCode)
        return std::nullopt;
    RecordedKey press{*keyCode, {}};
    press.flags.setFlag(ModifierFlag::Shift, event.modifiers().testFlag(Qt::ShiftModifier));
    press.flags.setFlag(ModifierFlag::Control, event.modifiers().testFlag(Qt::ControlModifier));
    press.flags.setFlag(ModifierFlag::Option, event.modifiers().testFlag(Qt::AltModifier));
    press.flags.setFlag(ModifierFlag::Command, event.modifiers().testFlag(Qt::MetaModifier));
    press.flags.setFlag(ModifierFlag::CapsLock, (event.nativeModifiers() & capsLockBit) != 0);
    press.flags.setFlag(ModifierFlag::NumericPad, event.modifiers().testFlag(Qt::KeypadModifier));
    press.flags.setFlag(ModifierFlag::Function, isFunctionOrArrow(event.key()));
    return press;
}

HotKeyRecorder::HotKeyRecorder(std::function<void(const HotKey &)> recorded)
    : recorded_(std::move(recorded)) {}

HotKeyRecorder::~HotKeyRecorder() = default;

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
