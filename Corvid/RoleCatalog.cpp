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
    const QString prefix = u"public.app-category."_s;
    QHash<QString, QStringList> roles{{prefix + u"developer-tools"_s, {u"developer-tool"_s}},
                                      {prefix + u"utilities"_s, {u"utility"_s}},
                                      {prefix + u"graphics-design"_s, {u"design"_s}},
                                      {prefix + u"photography"_s, {u"photo-editor"_s}},
                                      {prefix + u"games"_s, {u"game"_s}},
                                      {prefix + u"social-networking"_s, {u"chat"_s}},
                                      {prefix + u"business"_s, {u"office"_s}}};
    // The others have the name of their role.
    for (const QString &name :
         {u"productivity"_s, u"video"_s, u"music"_s, u"finance"_s, u"education"_s,
          u"entertainment"_s, u"news"_s, u"reference"_s, u"weather"_s, u"medical"_s, u"travel"_s,
          u"sports"_s, u"lifestyle"_s})
        roles.insert(prefix + name, {name});
    return roles;
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
        for (const QString &word : QStringList(role.label) + role.aliases) {
            const QString text = folded(word);
            words_.push_back({text, unitMask(text), name});
        }
    }
}

const RoleCatalog &RoleCatalog::shared() {
    static const RoleCatalog catalog(readTaxonomy());
    return catalog;
}

std::optional<QString> RoleCatalog::roleMatching(const QString &query) const {
    const QString wanted = withoutSurroundingBlanks(folded(query));
    const auto found = std::ranges::find(words_, wanted, &Word::text);
    return found == words_.end() ? std::nullopt : std::optional(found->role);
}

QStringList RoleCatalog::rolesFuzzy(const QString &query) const {
    const QString wanted = folded(query);
    const std::uint64_t mask = unitMask(wanted);
    QStringList found;
    if (wanted.isEmpty())
        return found;
    for (const Word &word : words_) {
        if ((mask & ~word.mask) == 0 && (found.isEmpty() || found.last() != word.role) &&
            word.text.contains(wanted))
            found.append(word.role);
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
