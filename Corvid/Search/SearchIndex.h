#pragma once

#include "Base/Records.h"
#include "Base/Text.h"
#include "SearchEngine.h"
#include "UsageStats.h"

#include <QHash>

#include <cstdint>
#include <vector>

namespace corvid {

/** A name folded once for ranking it against many queries. */
struct PreparedName {
    explicit PreparedName(const QString &name);

    /** A bit for each class of characters that occurs. Only a name whose mask holds all bits of the
        query's can match, which settles most candidates with one operation. */
    std::uint64_t mask = 0;
    FoldedText text;
};

/** A query folded once for one refresh. */
struct PreparedQuery : PreparedName {
    explicit PreparedQuery(const QString &query) : PreparedName(query.trimmed()) {}
};

/** The names of a list of applications or of projects, prepared once for ranking them, and the
    launches of each. */
class SearchIndex {
public:
    explicit SearchIndex(const std::vector<AppEntry> &apps);
    explicit SearchIndex(const std::vector<ProjectEntry> &projects);

    /** Takes over the launch counts; cheap when the tables have not changed since. */
    void updateUsage(const UsageStats &stats);
    /** Of the entry at `index`: by its name or one of its aliases, and the usage boost. Roles and
        identifiers are not matched. No allocation. */
    qint64 score(const PreparedQuery &query, std::size_t index) const;
    qint64 launches(std::size_t index) const { return entries_[index].launches; }
    /** The entry's usage key. */
    const QString &key(std::size_t index) const { return entries_[index].key; }
    /** The entry with this usage key. */
    std::optional<std::size_t> indexOf(const QString &key) const;
    /** The indexes of the applications that fill a role, ascending. */
    const std::vector<std::size_t> &withRole(const QString &role) const;

private:
    struct Entry {
        PreparedName name;
        std::vector<PreparedName> aliases;
        QString key;
        qint64 launches = 0;
    };

    void append(Entry entry);

    SearchEngine::Tiers nameTiers_;
    std::vector<std::uint64_t> masks_; ///< of name and aliases; most queries read no more
    std::vector<Entry> entries_;
    QHash<QString, std::vector<std::size_t>> roles_;
    std::optional<quint64> generation_; ///< of the usage tables
};

} // namespace corvid
