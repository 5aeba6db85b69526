#include "HotKeyManager.h"

#include "Base/VirtualKeys.h"

#include <QSignalBlocker>

#include <utility>
#include <vector>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Modifier {
    ModifierFlag flag;
    quint32 bit; ///< of HotKey::modifiers
    QChar symbol;
    QLatin1StringView name; ///< as on a keyboard
};

// In the order in which they are shown.
constexpr Modifier modifierTable[]{
    {ModifierFlag::Control, HotKey::control, u'⌃', "Ctrl"_L1},
    {ModifierFlag::Option, HotKey::option, u'⌥', "Alt"_L1},
    {ModifierFlag::Shift, HotKey::shift, u'⇧', "Shift"_L1},
    {ModifierFlag::Command, HotKey::command, u'⌘', "Super"_L1},
};

// What is tried in place of a combination that is taken. Few desktops use any of them.
const std::vector<HotKey> alternatives{{49, HotKey::command},
                                       {49, HotKey::control | HotKey::option},
                                       {49, HotKey::option | HotKey::shift},
                                       {49, HotKey::command | HotKey::shift}};

QString usNameOf(quint32 keyCode) {
    const VirtualKey *const key = findKey(&VirtualKey::code, keyCode);
    return key && key->name ? QString::fromUtf8(key->name) : u"Key "_s + QString::number(keyCode);
}

} // namespace

HotKeyManager::~HotKeyManager() {
    const QSignalBlocker nobodyHears(this);
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
    const auto foundFree = [=, this, releases = releases_](const HotKey &hotKey) {
        later([=, this] {
            if (releases == releases_)
                free_ = hotKey;
        });
    };
    backend_.grab(*registered_, {pressed, answered, foundFree, alternatives});
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
    free_.reset();
    setAnswer(std::nullopt);
}

void HotKeyManager::setAnswer(std::optional<HotKeyAnswer> answer) {
    if (answer != std::exchange(answer_, answer))
        Q_EMIT answerChanged();
}

HotKeyHelp HotKeyManager::help() const {
    if (!registered_)
        return {};
    const bool isTrouble = answer_ && answer_ != HotKeyAnswer::Obtained;
    HotKeyHelp help = hotKeyHelp(nameOf(*registered_), answer_,
                                 isTrouble ? backend_.desktop() : Desktop::Unknown);
    if (answer_ == HotKeyAnswer::Taken && free_) {
        help.free = free_;
        help.freeName = nameOf(*free_);
    }
    return help;
}

QString HotKeyManager::nameOf(const HotKey &hotKey) const {
    QString name;
    for (const Modifier &modifier : modifierTable) {
        if (hotKey.modifiers & modifier.bit)
            name += modifier.name + u'+';
    }
    const QString key = backend_.keyName(hotKey.keyCode);
    return name + (key.isEmpty() ? usNameOf(hotKey.keyCode) : key);
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
    return text + u' ' + usNameOf(keyCode);
}

} // namespace corvid
