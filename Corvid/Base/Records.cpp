#include "Base/Records.h"

#include "Base/Json.h"
#include "Base/Text.h"

#include <QSet>
#include <QStringBuilder>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<QString> decodeName(const QJsonValue &value) {
    const std::optional<QString> text = json::text(value);
    return text ? std::optional(nameFrom(*text)) : std::nullopt;
}

QJsonArray encodeActions(const QList<DesktopAction> &actions) {
    QJsonArray array;
    for (const DesktopAction &action : actions)
        array.append(QJsonObject{{"id"_L1, action.id}, {"name"_L1, action.name}});
    return array;
}

// Whoever wrote the list need not have known of them, so they are never what makes it unreadable.
QList<DesktopAction> decodeActions(const QJsonValue &value) {
    QList<DesktopAction> actions;
    const QJsonArray array = value.toArray();
    for (const QJsonValue element : array) {
        const std::optional<QString> id = json::text(element["id"_L1]);
        const std::optional<QString> name = decodeName(element["name"_L1]);
        if (id && name && !name->isEmpty() && actions.size() < mostDesktopActions)
            actions.append({*id, *name});
    }
    return actions;
}

template <typename Value>
void share(Value &value, QSet<Value> &known) {
    value = *known.insert(value);
}

} // namespace

std::vector<AppEntry> withSharedTexts(std::vector<AppEntry> apps) {
    QSet<QStringList> roles;
    QSet<QString> categories;
    for (AppEntry &app : apps) {
        share(app.roles, roles);
        share(app.category, categories);
    }
    return apps;
}

std::vector<ProjectEntry> withSharedTexts(std::vector<ProjectEntry> projects) {
    QSet<QStringList> stacks;
    for (ProjectEntry &project : projects)
        share(project.stack, stacks);
    return projects;
}

QString usageKey(const AppEntry &app) {
    return usageKeyOfApp(app.bundleID, app.path);
}

QString usageKeyOfApp(const QString &bundleID, const QString &path) {
    return bundleID % u'|' % path;
}

QString usageKey(const ProjectEntry &project) {
    return project.path;
}

QJsonObject toJson(const AppEntry &app) {
    QJsonObject object{{"name"_L1, app.name},
                       {"bundleID"_L1, app.bundleID},
                       {"path"_L1, app.path},
                       {"roles"_L1, QJsonArray::fromStringList(app.roles)},
                       {"aliases"_L1, QJsonArray::fromStringList(app.aliases)},
                       {"category"_L1, app.category}};
    if (!app.words.isEmpty())
        object.insert("words"_L1, QString::fromUtf8(app.words));
    if (!app.actions.isEmpty())
        object.insert("actions"_L1, encodeActions(app.actions));
    return object;
}

QJsonObject toJson(const ProjectEntry &project) {
    return {{"name"_L1, project.name},
            {"path"_L1, project.path},
            {"stack"_L1, QJsonArray::fromStringList(project.stack)}};
}

template <>
std::optional<AppEntry> fromJson<AppEntry>(const QJsonValue &value) {
    auto name = decodeName(value["name"_L1]);
    auto bundleID = json::text(value["bundleID"_L1]);
    auto path = json::text(value["path"_L1]);
    auto roles = json::texts(value["roles"_L1]);
    auto aliases = json::list<QStringList>(value["aliases"_L1], decodeName);
    auto category = json::text(value["category"_L1]);
    const QJsonValue stored = value["words"_L1];
    const auto words = stored.isUndefined() ? QString() : json::text(stored);
    if (!name || !bundleID || !path || !roles || !aliases || !category || !words)
        return std::nullopt;
    QByteArray kept = words->left(mostDescribingLetters).toUtf8();
    kept.squeeze(); // UTF-8 is made in room for the longest
    return AppEntry{*std::move(name),    *std::move(bundleID),
                    *std::move(path),    *std::move(roles),
                    *std::move(aliases), *std::move(category),
                    std::move(kept),     decodeActions(value["actions"_L1])};
}

template <>
std::optional<ProjectEntry> fromJson<ProjectEntry>(const QJsonValue &value) {
    auto name = decodeName(value["name"_L1]);
    auto path = json::text(value["path"_L1]);
    auto stack = json::texts(value["stack"_L1]);
    if (!name || !path || !stack)
        return std::nullopt;
    return ProjectEntry{*std::move(name), *std::move(path), *std::move(stack)};
}

} // namespace corvid
