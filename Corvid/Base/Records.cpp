#include "Base/Records.h"

#include <QJsonArray>

namespace corvid {

namespace {

std::optional<QString> stringAt(const QJsonObject &object, QLatin1StringView key) {
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<QStringList> stringsAt(const QJsonObject &object, QLatin1StringView key) {
    const QJsonValue value = object.value(key);
    if (!value.isArray())
        return std::nullopt;
    const QJsonArray array = value.toArray();
    QStringList strings;
    strings.reserve(array.size());
    for (const auto &element : array) {
        if (!element.isString())
            return std::nullopt;
        strings.append(element.toString());
    }
    return strings;
}

} // namespace

using namespace Qt::Literals::StringLiterals;

QString usageKey(const AppEntry &app) {
    return app.bundleID + u'|' + app.path;
}

QString usageKey(const ProjectEntry &project) {
    return project.path;
}

QJsonObject toJson(const AppEntry &app) {
    return {{"name"_L1, app.name},
            {"bundleID"_L1, app.bundleID},
            {"path"_L1, app.path},
            {"roles"_L1, QJsonArray::fromStringList(app.roles)},
            {"aliases"_L1, QJsonArray::fromStringList(app.aliases)},
            {"category"_L1, app.category}};
}

QJsonObject toJson(const ProjectEntry &project) {
    return {{"name"_L1, project.name},
            {"path"_L1, project.path},
            {"stack"_L1, QJsonArray::fromStringList(project.stack)}};
}

template <>
std::optional<AppEntry> fromJson<AppEntry>(const QJsonValue &value) {
    const QJsonObject object = value.toObject();
    auto name = stringAt(object, "name"_L1);
    auto bundleID = stringAt(object, "bundleID"_L1);
    auto path = stringAt(object, "path"_L1);
    auto roles = stringsAt(object, "roles"_L1);
    auto aliases = stringsAt(object, "aliases"_L1);
    auto category = stringAt(object, "category"_L1);
    if (!name || !bundleID || !path || !roles || !aliases || !category)
        return std::nullopt;
    return AppEntry{*std::move(name),  *std::move(bundleID), *std::move(path),
                    *std::move(roles), *std::move(aliases),  *std::move(category)};
}

template <>
std::optional<ProjectEntry> fromJson<ProjectEntry>(const QJsonValue &value) {
    const QJsonObject object = value.toObject();
    auto name = stringAt(object, "name"_L1);
    auto path = stringAt(object, "path"_L1);
    auto stack = stringsAt(object, "stack"_L1);
    if (!name || !path || !stack)
        return std::nullopt;
    return ProjectEntry{*std::move(name), *std::move(path), *std::move(stack)};
}

} // namespace corvid
