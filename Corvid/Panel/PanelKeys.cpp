#include "Panel/PanelKeys.h"

#include "HotKeyManager.h"
#include "Settings/HotKeyRecorder.h"

#include <QKeyEvent>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// What the key at this position types on a US keyboard; empty unless that is a letter or a digit.
QString characterByPosition(const QKeyEvent &event) {
    const std::optional<RecordedKey> key = recordedKey(event);
    const QString name = key ? HotKeyManager::describe(key->keyCode, 0).trimmed() : QString();
    return name.size() == 1 && name.front().isLetterOrNumber() ? name : QString();
}

QString characterOf(const QKeyEvent &event) {
    const int key = event.key();
    if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z))
        return QChar(key);
    return characterByPosition(event);
}

Qt::KeyboardModifiers modifiersOf(const QKeyEvent &event) {
    return event.modifiers() & ~Qt::KeypadModifier;
}

} // namespace

PanelKey panelKeyOf(const QKeyEvent &event) {
    const Qt::KeyboardModifiers modifiers = modifiersOf(event);
    // Exactly these: with others it may be text, as Control and Alt together are on some desktops.
    const bool command = modifiers == Qt::ControlModifier || modifiers == Qt::MetaModifier;
    switch (event.key()) {
    case Qt::Key_Escape:
        return PanelKey::Escape;
    case Qt::Key_Down:
        return PanelKey::Down;
    case Qt::Key_Up:
        return PanelKey::Up;
    case Qt::Key_PageUp:
        return PanelKey::PageUp;
    case Qt::Key_PageDown:
        return PanelKey::PageDown;
    case Qt::Key_Tab:
        return modifiers == Qt::NoModifier ? PanelKey::Down : PanelKey::Other;
    case Qt::Key_Backtab:
        return PanelKey::Up;
    case Qt::Key_Home:
        return command ? PanelKey::First : PanelKey::Other;
    case Qt::Key_End:
        return command ? PanelKey::Last : PanelKey::Other;
    case Qt::Key_Backspace:
        return modifiers == Qt::AltModifier ? PanelKey::DeleteWord : PanelKey::Other;
    case Qt::Key_Comma:
        return command ? PanelKey::Settings : PanelKey::Other;
    default:
        break;
    }
    if (!command)
        return PanelKey::Other;
    static constexpr std::pair<QLatin1StringView, PanelKey> letters[]{
        {"N"_L1, PanelKey::Down}, {"J"_L1, PanelKey::Down},       {"P"_L1, PanelKey::Up},
        {"K"_L1, PanelKey::Up},   {"W"_L1, PanelKey::DeleteWord}, {"U"_L1, PanelKey::DeleteToStart},
        {"Q"_L1, PanelKey::Quit},
    };
    const QString character = characterOf(event);
    for (const auto &[letter, meaning] : letters)
        if (character == letter)
            return meaning;
    return PanelKey::Other;
}

KeyPress keyPressOf(const QKeyEvent &event) {
    const Qt::KeyboardModifiers modifiers = modifiersOf(event);
    KeyPress press;
    press.characters = characterOf(event);
    const bool isDigit = press.characters.size() == 1 && press.characters.front().isDigit();
    press.command = modifiers.testAnyFlags(Qt::ControlModifier | Qt::MetaModifier) ||
                    (modifiers == Qt::AltModifier && isDigit);
    press.shift = modifiers.testFlag(Qt::ShiftModifier);
    press.isReturn = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    press.isEscape = event.key() == Qt::Key_Escape;
    press.isDelete = event.key() == Qt::Key_Delete && modifiers == Qt::ShiftModifier;
    return press;
}

bool isModifier(const QKeyEvent &event) {
    switch (event.key()) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
        return true;
    default:
        return false;
    }
}

} // namespace corvid
