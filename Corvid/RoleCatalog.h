#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace corvid {

/**
 * What applications are for: a taxonomy of roles (kinds of tools) with the words that name them,
 * what is known of single applications, and a fixed table from application categories to roles.
 * Immutable, so it may be read from any thread. Nothing here fails.
 */
class RoleCatalog {
public:
    struct Role {
        QString label;       ///< shown to the user, and matched against queries
        QStringList aliases; ///< other words for the role, matched against queries
        bool operator==(const Role &) const = default;
    };
    struct AppMeta {
        QStringList roles;
        QStringList aliases; ///< extra names under which the application is found
        bool operator==(const AppMeta &) const = default;
    };
    struct Taxonomy {
        std::map<QString, Role> roles; ///< by role name, in a fixed order
        QHash<QString, AppMeta> apps;  ///< by bundle identifier or desktop id
        bool operator==(const Taxonomy &) const = default;
    };

    explicit RoleCatalog(Taxonomy known);

    /** The catalog of the resource "taxonomy.json", read on first use; any thread. A resource
        that is missing or damaged leaves the taxonomy empty. Needs the application object.
        A missing resource bundle ends the program. */
    static const RoleCatalog &shared();

    const Taxonomy taxonomy;
    /** Application category ("public.app-category.…", exact spelling) → role names. */
    const QHash<QString, QStringList> categoryMap;

    /** The role whose label or one alias equals the query, letter case and surrounding spaces and
        tabs aside. Of several such roles the one whose name sorts first. */
    std::optional<QString> roleMatching(const QString &query) const;

    /** The roles whose label or one alias contains the query, letter case aside, each once,
        sorted by name. An empty query finds none. */
    QStringList rolesFuzzy(const QString &query) const;

private:
    /** A folded label or alias. */
    struct Word {
        QString text;
        std::uint64_t mask; ///< as unitMask() tells
        QString role;
    };
    // Folded here once: both questions are asked on every key stroke. Those of a role stand
    // together.
    std::vector<Word> words_;
};

/** Reads the JSON form of a taxonomy; absent when any required member is missing or of another
    type. Unknown members are ignored. */
std::optional<RoleCatalog::Taxonomy> decodeTaxonomy(const QByteArray &bytes);

} // namespace corvid
