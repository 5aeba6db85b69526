#include "HotKeyManager.h"

#include <QHash>

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

// Keys 97, 98, 99 and 101 are labelled F6, F7, F3 and F9. Everywhere that combinations are shown,
// they have had these other names, and they keep them on purpose.
const QHash<quint32, QString> &keyNames() {
    static const QHash<quint32, QString> names{
        {49, u"Space"_s}, {36, u"Return"_s}, {48, u"Tab"_s}, {51, u"Delete"_s}, {53, u"Esc"_s},
        {0, u"A"_s},      {1, u"S"_s},       {2, u"D"_s},    {3, u"F"_s},       {4, u"H"_s},
        {5, u"G"_s},      {6, u"Z"_s},       {7, u"X"_s},    {8, u"C"_s},       {9, u"V"_s},
        {11, u"B"_s},     {12, u"Q"_s},      {13, u"W"_s},   {14, u"E"_s},      {15, u"R"_s},
        {16, u"Y"_s},     {17, u"T"_s},      {18, u"1"_s},   {19, u"2"_s},      {20, u"3"_s},
        {21, u"4"_s},     {22, u"6"_s},      {23, u"5"_s},   {25, u"9"_s},      {26, u"7"_s},
        {28, u"8"_s},     {29, u"0"_s},      {31, u"O"_s},   {32, u"U"_s},      {34, u"I"_s},
        {35, u"P"_s},     {37, u"L"_s},      {38, u"J"_s},   {39, u"'"_s},      {40, u"K"_s},
        {41, u";"_s},     {42, u"\\"_s},     {43, u","_s},   {44, u"/"_s},      {45, u"N"_s},
        {46, u"M"_s},     {47, u"."_s},      {50, u"`"_s},   {96, u"F5"_s},     {97, u"F7"_s},
        {98, u"F3"_s},    {99, u"F9"_s},     {100, u"F8"_s}, {101, u"F6"_s},    {103, u"F11"_s},
        {109, u"F10"_s},  {111, u"F12"_s},   {118, u"F4"_s}, {120, u"F2"_s},    {122, u"F1"_s},
        {123, u"←"_s},    {124, u"→"_s},     {125, u"↓"_s},  {126, u"↑"_s},
    };
    return names;
}

} // namespace

HotKeyManager::~HotKeyManager() {
    onObtainedChange = nullptr;
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
    const auto pressed = [this](quint32 time) {
        QMetaObject::invokeMethod(
            &receiver_,
            [this, time] {
                lastPressTime_ = time;
                nextKeys_ = NextKeys::WhoHasTheKeyboard;
                // The handler may register another.
                if (const Handler current = handler_; current && !paused_)
                    current();
                backend_.dealtWith(time, nextKeys_);
            },
            Qt::QueuedConnection);
    };
    const auto answered = [this, releases = releases_](bool obtained) {
        QMetaObject::invokeMethod(
            &receiver_,
            [this, releases, obtained] {
                if (releases == releases_)
                    setObtained(obtained);
            },
            Qt::QueuedConnection);
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
    setObtained(std::nullopt);
}

void HotKeyManager::setObtained(std::optional<bool> obtained) {
    if (obtained == std::exchange(obtained_, obtained))
        return;
    if (onObtainedChange)
        onObtainedChange();
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
    return text + u' ' + keyNames().value(keyCode, u"Key "_s + QString::number(keyCode));
}

} // namespace corvid
