#include "HotKeyManager.h"

#include "Base/VirtualKeys.h"

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Modifier {
    ModifierFlag flag;
    quint32 bit; ///< of HotKey::modifiers
    QChar symbol;
};

// In the order in which they are shown.
constexpr Modifier modifierTable[]{
    {ModifierFlag::Control, HotKey::control, u'⌃'},
    {ModifierFlag::Option, HotKey::option, u'⌥'},
    {ModifierFlag::Shift, HotKey::shift, u'⇧'},
    {ModifierFlag::Command, HotKey::command, u'⌘'},
};

} // namespace

HotKeyManager::~HotKeyManager() {
    onAnswerChange = nullptr;
    unregister();
}

HotKeyManager &HotKeyManager::shared() {
    if (!sharedBackend_)
        qFatal("the hot key was used before the platform installed its backend");
    static HotKeyManager manager(*sharedBackend_);
    return manager;
}

void HotKeyManager::registerHotKey(quint32 keyCode, quint32 modifiers, Handler handler) {
    unregister();
    handler_ = std::move(handler);
    registered_ = HotKey{keyCode, modifiers};
    grab();
}

void HotKeyManager::grab() {
    const auto later = [this](auto function) {
        QMetaObject::invokeMethod(&receiver_, function, Qt::QueuedConnection);
    };
    const auto pressed = [=, this](quint32 time) {
        later([=, this] {
            lastPressTime_ = time;
            nextKeys_ = NextKeys::WhoHasTheKeyboard;
            // The handler may register another.
            if (const Handler current = handler_; current && !paused_)
                current();
            backend_.dealtWith(time, nextKeys_);
        });
    };
    const auto answered = [=, this, releases = releases_](HotKeyAnswer answer) {
        later([=, this] {
            if (releases == releases_)
                setAnswer(answer);
        });
    };
    backend_.grab(*registered_, {pressed, answered});
}

void HotKeyManager::unregister() {
    if (!registered_)
        return;
    registered_.reset();
    if (!std::exchange(paused_, false))
        release();
}

void HotKeyManager::pause() {
    if (!registered_ || paused_)
        return;
    paused_ = true;
    release();
}

void HotKeyManager::resume() {
    if (std::exchange(paused_, false))
        grab();
}

void HotKeyManager::release() {
    ++releases_;
    backend_.release();
    setAnswer(std::nullopt);
}

void HotKeyManager::setAnswer(std::optional<HotKeyAnswer> answer) {
    if (answer != std::exchange(answer_, answer) && onAnswerChange)
        onAnswerChange();
}

quint32 HotKeyManager::carbonFlags(ModifierFlags flags) {
    quint32 modifiers = 0;
    for (const Modifier &modifier : modifierTable)
        modifiers |= flags.testFlag(modifier.flag) ? modifier.bit : 0;
    return modifiers;
}

QString HotKeyManager::describe(quint32 keyCode, quint32 modifiers) {
    QString text;
    for (const Modifier &modifier : modifierTable) {
        if (modifiers & modifier.bit)
            text += modifier.symbol;
    }
    const VirtualKey *const key = findKey(&VirtualKey::code, keyCode);
    return text + u' ' +
           (key && key->name ? QString::fromUtf8(key->name) : u"Key "_s + QString::number(keyCode));
}

} // namespace corvid
