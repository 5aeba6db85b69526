#include "Base/Settings.h"

#include "Base/Json.h"

#include <QLocale>
#include <QUrl>

#include <algorithm>
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
const QString aiInstructionKey = u"aiInstruction"_s;
const QString aiSendsNamesKey = u"aiSendsNames"_s;
const QString aiNamesNotedKey = u"aiNamesNoted"_s;
const QString lastProjectKey = u"lastProject"_s;
const QString webSearchURLKey = u"webSearchURL"_s;
const QString webSearchNameKey = u"webSearchName"_s;
const QString searchWordsKey = u"searchWords"_s;
const QString launchCountsKey = u"launchCounts"_s;
const QString queryLatchesKey = u"queryLatches"_s;
const QString noticesGivenKey = u"noticesGiven"_s;

constexpr HotKey defaultHotKey{49, HotKey::option}; // Alt+Space

WebSearch usualWebSearch() {
    return {u"Google"_s, u"https://www.google.com/search?q=%s"_s};
}

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

/** Of a switch that is on unless somebody switched it off. */
bool isOn(const QJsonValue &stored) {
    return stored.isUndefined() || stored.toBool() || stored.toDouble() != 0;
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

// Sorted by their words, as those that are stored.
const std::vector<SearchWord> &knownSearchWords() {
    static const std::vector<SearchWord> known{
        {u"arch"_s, u"ArchWiki"_s, u"https://wiki.archlinux.org/index.php?search=%s"_s},
        {u"aur"_s, u"AUR"_s, u"https://aur.archlinux.org/packages?K=%s"_s},
        {u"cpp"_s, u"cppreference"_s, u"https://en.cppreference.com/mwiki/index.php?search=%s"_s},
        {u"crate"_s, u"crates.io"_s, u"https://crates.io/search?q=%s"_s},
        {u"ddg"_s, u"DuckDuckGo"_s, u"https://duckduckgo.com/?q=%s"_s},
        {u"deb"_s, u"Debian packages"_s, u"https://packages.debian.org/search?keywords=%s"_s},
        {u"docs.rs"_s, u"Docs.rs"_s, u"https://docs.rs/releases/search?query=%s"_s},
        {u"gh"_s, u"GitHub"_s, u"https://github.com/search?q=%s"_s},
        {u"go"_s, u"Go packages"_s, u"https://pkg.go.dev/search?q=%s"_s},
        {u"man"_s, u"manual pages"_s, u"https://manpages.debian.org/jump?q=%s"_s},
        {u"maps"_s, u"OpenStreetMap"_s, u"https://www.openstreetmap.org/search?query=%s"_s},
        {u"mdn"_s, u"MDN"_s, u"https://developer.mozilla.org/en-US/search?q=%s"_s},
        {u"npm"_s, u"npm"_s, u"https://www.npmjs.com/search?q=%s"_s},
        {u"pypi"_s, u"PyPI"_s, u"https://pypi.org/search/?q=%s"_s},
        {u"so"_s, u"Stack Overflow"_s, u"https://stackoverflow.com/search?q=%s"_s},
        {u"wiki"_s, u"Wikipedia"_s, u"https://en.wikipedia.org/w/index.php?search=%s"_s},
    };
    return known;
}

std::optional<SearchWord> decodeSearchWord(const QString &word, const QJsonValue &stored) {
    const QString address = stored["address"_L1].toString();
    if (!isSearchWord(word) || !isSearchAddress(address))
        return std::nullopt;
    const QString name = stored["name"_L1].toString().trimmed();
    return SearchWord{word.toLower(), name.isEmpty() ? word : name, address};
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
    return isOn(defaults.value(aiEnabledKey));
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

QString aiInstruction(const UserDefaults &defaults) {
    const QString stored = defaults.value(aiInstructionKey).toString();
    return stored.isEmpty()
               ? u"You are a concise assistant inside a macOS launcher. Answer briefly."_s
               : stored;
}

bool aiSendsNames(const UserDefaults &defaults) {
    return isOn(defaults.value(aiSendsNamesKey));
}

void setAiSendsNames(UserDefaults &defaults, bool send) {
    defaults.set(aiSendsNamesKey, send ? QJsonValue(QJsonValue::Undefined) : QJsonValue(false));
}

bool aiNamesNoted(const UserDefaults &defaults) {
    return defaults.value(aiNamesNotedKey).toBool();
}

void setAiNamesNoted(UserDefaults &defaults) {
    defaults.set(aiNamesNotedKey, true);
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

bool isSearchAddress(const QString &address) {
    const auto filledWith = [&address](const QString &text) {
        return QUrl(QString(address).replace(searchTextMark, text), QUrl::StrictMode);
    };
    const QUrl one = filledWith(u"a"_s);
    const bool isWeb = one.scheme() == "https"_L1 || one.scheme() == "http"_L1;
    return address.contains(searchTextMark) && isWeb && one.isValid() && !one.host().isEmpty() &&
           one.authority() == filledWith(u"b"_s).authority();
}

WebSearch webSearch(const UserDefaults &defaults) {
    const QString address = defaults.value(webSearchURLKey).toString();
    if (!isSearchAddress(address))
        return usualWebSearch();
    const QString name = defaults.value(webSearchNameKey).toString().trimmed();
    return {name.isEmpty() ? QUrl(address).host() : name, address};
}

void setWebSearch(UserDefaults &defaults, const WebSearch &search) {
    const bool isChosen = isSearchAddress(search.address) && search != usualWebSearch();
    const QJsonValue nothing(QJsonValue::Undefined);
    defaults.set(webSearchURLKey, isChosen ? QJsonValue(search.address) : nothing);
    defaults.set(webSearchNameKey, isChosen ? QJsonValue(search.name) : nothing);
}

bool isSearchWord(const QString &word) {
    return !word.isEmpty() && std::ranges::none_of(word, [](QChar c) { return c.isSpace(); });
}

std::vector<SearchWord> searchWords(const UserDefaults &defaults) {
    const QJsonValue stored = defaults.value(searchWordsKey);
    if (!stored.isObject())
        return knownSearchWords();
    const QJsonObject object = stored.toObject();
    std::vector<SearchWord> words;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (auto word = decodeSearchWord(entry.key(), entry.value());
            word && std::ranges::find(words, word->word, &SearchWord::word) == words.end())
            words.push_back(*std::move(word));
    }
    return words;
}

void setSearchWords(UserDefaults &defaults, const std::vector<SearchWord> &words) {
    defaults.update(searchWordsKey, [words](const QJsonValue &stored) -> QJsonValue {
        const QJsonObject before = stored.toObject();
        QJsonObject object;
        for (auto entry = before.begin(); entry != before.end(); ++entry) {
            if (!decodeSearchWord(entry.key(), entry.value()))
                object.insert(entry.key(), entry.value());
        }
        for (const SearchWord &word : words)
            object.insert(word.word.toLower(),
                          QJsonObject{{"name"_L1, word.name}, {"address"_L1, word.address}});
        return object;
    });
}

void restoreSearchWords(UserDefaults &defaults) {
    defaults.set(searchWordsKey, QJsonValue(QJsonValue::Undefined));
}

bool nothingStored(const UserDefaults &defaults) {
    const QString *const keys[]{
        &keyCodeKey,      &modifiersKey,    &projectRootsKey,  &aiEnabledKey,
        &aiBaseURLKey,    &aiModelKey,      &aiInstructionKey, &aiSendsNamesKey,
        &aiNamesNotedKey, &lastProjectKey,  &webSearchURLKey,  &webSearchNameKey,
        &searchWordsKey,  &launchCountsKey, &queryLatchesKey,  &noticesGivenKey};
    return std::ranges::all_of(
        keys, [&](const QString *key) { return defaults.value(*key).isUndefined(); });
}

QStringList noticesGiven(const UserDefaults &defaults) {
    return json::texts(defaults.value(noticesGivenKey)).value_or(QStringList());
}

void addNoticeGiven(UserDefaults &defaults, const QString &name) {
    defaults.update(noticesGivenKey, [name](const QJsonValue &stored) -> QJsonValue {
        QStringList names = json::texts(stored).value_or(QStringList());
        if (!names.contains(name))
            names.append(name);
        return QJsonArray::fromStringList(names);
    });
}

// Forgetting empties the table and leaves it there.
bool launchedBefore(const UserDefaults &defaults) {
    return !defaults.value(launchCountsKey).isUndefined();
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
