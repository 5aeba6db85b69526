#include "RoleCatalog.h"

#include "Base/Text.h"
#include "resource_bundle_accessor.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QHash<QString, QStringList> rolesByCategory() {
    return {
        {u"public.app-category.developer-tools"_s, {u"developer-tool"_s}},
        {u"public.app-category.productivity"_s, {u"productivity"_s}},
        {u"public.app-category.utilities"_s, {u"utility"_s}},
        {u"public.app-category.graphics-design"_s, {u"design"_s}},
        {u"public.app-category.photography"_s, {u"photo-editor"_s}},
        {u"public.app-category.video"_s, {u"video"_s}},
        {u"public.app-category.music"_s, {u"music"_s}},
        {u"public.app-category.games"_s, {u"game"_s}},
        {u"public.app-category.social-networking"_s, {u"chat"_s}},
        {u"public.app-category.business"_s, {u"office"_s}},
        {u"public.app-category.finance"_s, {u"finance"_s}},
        {u"public.app-category.education"_s, {u"education"_s}},
        {u"public.app-category.entertainment"_s, {u"entertainment"_s}},
        {u"public.app-category.news"_s, {u"news"_s}},
        {u"public.app-category.reference"_s, {u"reference"_s}},
        {u"public.app-category.weather"_s, {u"weather"_s}},
        {u"public.app-category.medical"_s, {u"medical"_s}},
        {u"public.app-category.travel"_s, {u"travel"_s}},
        {u"public.app-category.sports"_s, {u"sports"_s}},
        {u"public.app-category.lifestyle"_s, {u"lifestyle"_s}},
    };
}

// Line breaks stay: no label holds one, so a text of several lines names no role.
QString withoutSurroundingBlanks(const QString &text) {
    const auto isBlank = [](QChar c) {
        return c == u'\t' || c.category() == QChar::Separator_Space;
    };
    const auto first = std::find_if_not(text.begin(), text.end(), isBlank);
    const auto last = std::find_if_not(text.rbegin(), text.rend(), isBlank).base();
    return first < last ? QString(first, last - first) : QString();
}

std::optional<QStringList> decodeStrings(const QJsonValue &value) {
    if (!value.isArray())
        return std::nullopt;
    QStringList strings;
    for (const auto &element : value.toArray()) {
        if (!element.isString())
            return std::nullopt;
        strings.append(element.toString());
    }
    return strings;
}

std::optional<RoleCatalog::Role> decodeRole(const QJsonValue &value) {
    const QJsonValue label = value["label"_L1];
    auto aliases = decodeStrings(value["aliases"_L1]);
    if (!label.isString() || !aliases)
        return std::nullopt;
    return RoleCatalog::Role{label.toString(), *std::move(aliases)};
}

std::optional<RoleCatalog::AppMeta> decodeAppMeta(const QJsonValue &value) {
    auto roles = decodeStrings(value["roles"_L1]);
    const QJsonValue stored = value["aliases"_L1];
    auto aliases = stored.isUndefined() || stored.isNull() ? QStringList() : decodeStrings(stored);
    if (!roles || !aliases)
        return std::nullopt;
    return RoleCatalog::AppMeta{*std::move(roles), *std::move(aliases)};
}

RoleCatalog::Taxonomy readTaxonomy() {
    QFile file(resourceBundle() + "/taxonomy.json"_L1);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return decodeTaxonomy(file.readAll()).value_or(RoleCatalog::Taxonomy());
}

} // namespace

RoleCatalog::RoleCatalog(Taxonomy known)
    : taxonomy(std::move(known)), categoryMap(rolesByCategory()) {
    for (const auto &[name, role] : taxonomy.roles) {
        QStringList words{folded(role.label)};
        for (const QString &alias : role.aliases)
            words.append(folded(alias));
        for (const QString &word : std::as_const(words)) {
            if (!roleByWord_.contains(word))
                roleByWord_.insert(word, name);
        }
        roleWords_.push_back({name, std::move(words)});
    }
}

const RoleCatalog &RoleCatalog::shared() {
    static const RoleCatalog catalog(readTaxonomy());
    return catalog;
}

std::optional<QString> RoleCatalog::roleMatching(const QString &query) const {
    const auto found = roleByWord_.constFind(withoutSurroundingBlanks(folded(query)));
    if (found == roleByWord_.cend())
        return std::nullopt;
    return *found;
}

QStringList RoleCatalog::rolesFuzzy(const QString &query) const {
    if (query.isEmpty())
        return {};
    const QString wanted = folded(query);
    QStringList found;
    for (const RoleWords &entry : roleWords_) {
        if (std::any_of(entry.words.begin(), entry.words.end(),
                        [&wanted](const QString &word) { return word.contains(wanted); }))
            found.append(entry.role);
    }
    return found;
}

std::optional<RoleCatalog::Taxonomy> decodeTaxonomy(const QByteArray &json) {
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const QJsonValue roles = object["roles"_L1];
    const QJsonValue apps = object["apps"_L1];
    if (!roles.isObject() || !apps.isObject())
        return std::nullopt;
    RoleCatalog::Taxonomy taxonomy;
    const QJsonObject roleObject = roles.toObject();
    for (auto entry = roleObject.begin(); entry != roleObject.end(); ++entry) {
        auto role = decodeRole(entry.value());
        if (!role)
            return std::nullopt;
        taxonomy.roles.emplace(entry.key(), *std::move(role));
    }
    const QJsonObject appObject = apps.toObject();
    for (auto entry = appObject.begin(); entry != appObject.end(); ++entry) {
        auto meta = decodeAppMeta(entry.value());
        if (!meta)
            return std::nullopt;
        taxonomy.apps.insert(entry.key(), *std::move(meta));
    }
    return taxonomy;
}

} // namespace corvid
