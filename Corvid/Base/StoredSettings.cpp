#include "Base/StoredSettings.h"

#include "Platform/UserDefaults.h"

#include <QLocale>

#include <limits>

namespace corvid::settings {

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<quint32> hotKeyNumber(const UserDefaults &defaults, const QString &key) {
    const QJsonValue value = defaults.value(key);
    const double number = value.toDouble();
    if (number < 0 || number > std::numeric_limits<quint32>::max())
        qFatal("the stored %s is %s; it must be from 0 to 4294967295", qPrintable(key),
               QByteArray::number(number, 'g', QLocale::FloatingPointShortest).constData());
    const auto stored = static_cast<quint32>(value.toInteger());
    return stored == 0 ? std::nullopt : std::optional(stored);
}

} // namespace

bool aiEnabled(const UserDefaults &defaults) {
    const QJsonValue stored = defaults.value(u"aiEnabled"_s);
    return stored.isUndefined() || stored.toBool() || stored.toDouble() != 0;
}

QString aiBaseURL(const UserDefaults &defaults) {
    return defaults.value(u"aiBaseURL"_s).toString(u"https://api.openai.com/v1"_s);
}

QString aiModel(const UserDefaults &defaults) {
    return defaults.value(u"aiModel"_s).toString(u"gpt-4o-mini"_s);
}

std::optional<quint32> hotkeyKeyCode(const UserDefaults &defaults) {
    return hotKeyNumber(defaults, u"hotkeyKeyCode"_s);
}

std::optional<quint32> hotkeyModifiers(const UserDefaults &defaults) {
    return hotKeyNumber(defaults, u"hotkeyModifiers"_s);
}

} // namespace corvid::settings
