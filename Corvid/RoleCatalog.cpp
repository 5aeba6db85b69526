#include "RoleCatalog.h"

#include "Base/Json.h"
#include "Base/Text.h"
#include "resource_bundle_accessor.h"

#include <QFile>
#include <QJsonDocument>

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

std::optional<RoleCatalog::Role> decodeRole(const QJsonValue &value) {
    auto label = json::text(value["label"_L1]);
    auto aliases = json::texts(value["aliases"_L1]);
    if (!label || !aliases)
        return std::nullopt;
    return RoleCatalog::Role{*std::move(label), *std::move(aliases)};
}

std::optional<RoleCatalog::AppMeta> decodeAppMeta(const QJsonValue &value) {
    auto roles = json::texts(value["roles"_L1]);
    const QJsonValue stored = value["aliases"_L1];
    auto aliases = stored.isUndefined() || stored.isNull() ? QStringList() : json::texts(stored);
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

std::optional<RoleCatalog::Taxonomy> decodeTaxonomy(const QByteArray &bytes) {
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    using Taxonomy = RoleCatalog::Taxonomy;
    auto roles = json::map<decltype(Taxonomy::roles)>(object["roles"_L1], decodeRole);
    auto apps = json::map<decltype(Taxonomy::apps)>(object["apps"_L1], decodeAppMeta);
    if (!roles || !apps)
        return std::nullopt;
    return Taxonomy{*std::move(roles), *std::move(apps)};
}

} // namespace corvid
