#include "Base/Settings.h"

#include "Base/Json.h"

#include <QLocale>

#include <limits>

namespace corvid::settings {

using namespace Qt::Literals::StringLiterals;

namespace {

// scripts/check-layers sees to it that these are spelled nowhere else.
const QString keyCodeKey = u"hotkeyKeyCode"_s;
const QString modifiersKey = u"hotkeyModifiers"_s;
const QString projectRootsKey = u"projectRoots"_s;
const QString aiEnabledKey = u"aiEnabled"_s;
const QString aiBaseURLKey = u"aiBaseURL"_s;
const QString aiModelKey = u"aiModel"_s;
const QString lastProjectKey = u"lastProject"_s;
const QString launchCountsKey = u"launchCounts"_s;
const QString queryLatchesKey = u"queryLatches"_s;

constexpr HotKey defaultHotKey{49, HotKey::option}; // Alt+Space

std::optional<quint32> hotKeyNumber(const UserDefaults &defaults, const QString &key) {
    const QJsonValue value = defaults.value(key);
    const double number = value.toDouble();
    if (number < 0 || number > std::numeric_limits<quint32>::max())
        qFatal("the stored %s is %s; it must be from 0 to 4294967295", qPrintable(key),
               QByteArray::number(number, 'g', QLocale::FloatingPointShortest).constData());
    const auto stored = static_cast<quint32>(value.toInteger());
    return stored == 0 ? std::nullopt : std::optional(stored);
}

std::optional<qint64> integer(const QJsonValue &value) {
    // Two different defaults tell an integer from a number that does not fit one.
    if (const qint64 number = value.toInteger(0); number == value.toInteger(1))
        return number;
    return std::nullopt;
}

LaunchCounts decodeLaunchCounts(const QJsonValue &stored) {
    return json::map<LaunchCounts>(stored, integer).value_or(LaunchCounts());
}

QueryLatches decodeQueryLatches(const QJsonValue &stored) {
    return json::map<QueryLatches>(stored, json::text).value_or(QueryLatches());
}

template <typename Table>
void updateTable(UserDefaults &defaults, const QString &key, Table (*decode)(const QJsonValue &),
                 const std::function<void(Table &)> &change) {
    defaults.update(key, [=](const QJsonValue &stored) -> QJsonValue {
        Table table = decode(stored);
        change(table);
        QJsonObject object;
        for (auto entry = table.begin(); entry != table.end(); ++entry)
            object.insert(entry.key(), entry.value());
        return object;
    });
}

} // namespace

HotKey hotKey(const UserDefaults &defaults) {
    return {hotKeyNumber(defaults, keyCodeKey).value_or(defaultHotKey.keyCode),
            hotKeyNumber(defaults, modifiersKey).value_or(defaultHotKey.modifiers)};
}

std::optional<HotKey> storedHotKey(const UserDefaults &defaults) {
    const std::optional<quint32> keyCode = hotKeyNumber(defaults, keyCodeKey);
    if (!keyCode)
        return std::nullopt;
    return HotKey{*keyCode, hotKeyNumber(defaults, modifiersKey).value_or(0)};
}

void setHotKey(UserDefaults &defaults, const HotKey &hotKey) {
    defaults.set(keyCodeKey, qint64{hotKey.keyCode});
    defaults.set(modifiersKey, qint64{hotKey.modifiers});
}

QStringList projectRoots(const UserDefaults &defaults) {
    return json::texts(defaults.value(projectRootsKey)).value_or(QStringList());
}

void setProjectRoots(UserDefaults &defaults, const QStringList &roots) {
    defaults.set(projectRootsKey, QJsonArray::fromStringList(roots));
}

bool aiEnabled(const UserDefaults &defaults) {
    const QJsonValue stored = defaults.value(aiEnabledKey);
    return stored.isUndefined() || stored.toBool() || stored.toDouble() != 0;
}

void setAiEnabled(UserDefaults &defaults, bool enabled) {
    defaults.set(aiEnabledKey, enabled);
}

QString aiBaseURL(const UserDefaults &defaults) {
    return defaults.value(aiBaseURLKey).toString(u"https://api.openai.com/v1"_s);
}

void setAiBaseURL(UserDefaults &defaults, const QString &address) {
    defaults.set(aiBaseURLKey, address);
}

QString aiModel(const UserDefaults &defaults) {
    return defaults.value(aiModelKey).toString(u"gpt-4o-mini"_s);
}

void setAiModel(UserDefaults &defaults, const QString &model) {
    defaults.set(aiModelKey, model);
}

std::optional<LastProject> lastProject(const UserDefaults &defaults) {
    const QJsonValue stored = defaults.value(lastProjectKey);
    const std::optional<QString> project = json::text(stored["project"_L1]);
    const std::optional<QString> editor = json::text(stored["editor"_L1]);
    if (!project || !editor)
        return std::nullopt;
    return LastProject{*project, *editor};
}

void setLastProject(UserDefaults &defaults, const LastProject &last) {
    defaults.set(lastProjectKey,
                 QJsonObject{{"project"_L1, last.project}, {"editor"_L1, last.editor}});
}

LaunchCounts launchCounts(const UserDefaults &defaults) {
    return decodeLaunchCounts(defaults.value(launchCountsKey));
}

void updateLaunchCounts(UserDefaults &defaults, const std::function<void(LaunchCounts &)> &change) {
    updateTable(defaults, launchCountsKey, decodeLaunchCounts, change);
}

QueryLatches queryLatches(const UserDefaults &defaults) {
    return decodeQueryLatches(defaults.value(queryLatchesKey));
}

void updateQueryLatches(UserDefaults &defaults, const std::function<void(QueryLatches &)> &change) {
    updateTable(defaults, queryLatchesKey, decodeQueryLatches, change);
}

} // namespace corvid::settings
