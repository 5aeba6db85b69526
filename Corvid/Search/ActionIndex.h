#pragma once

#include "Base/Records.h"

#include <cstdint>
#include <vector>

namespace corvid {

/**
 * The actions of a list of applications, prepared once for finding those that a query names. It
 * names an action when each of its words is one of the action's name or of the application's names,
 * in any order, and one at least is the action's. A word may be cut short to three letters; blanks,
 * hyphens and other signs only separate words.
 */
class ActionIndex {
public:
    /** Without any. */
    ActionIndex() = default;
    explicit ActionIndex(const std::vector<AppEntry> &apps);

    struct Place {
        std::size_t app;  ///< index in the list
        qsizetype action; ///< index in the application's actions
        bool operator==(const Place &) const = default;
    };

    /** In the order of the list. Allocates nothing for what is not named. */
    std::vector<Place> named(const QString &query) const;

private:
    /** Words that stand next to each other in the table. */
    struct Words {
        /** A bit for each class of letters that one of them begins with, which settles most
            candidates with one operation. */
        std::uint64_t initials = 0;
        std::uint32_t first = 0;
        std::uint32_t end = 0;
    };
    struct App {
        std::size_t index;
        Words names;
        std::vector<Words> actions;
    };

    Words append(const QStringList &names);
    bool contains(const Words &words, QStringView wanted) const;
    bool isNamed(const std::vector<QStringView> &query, const App &app, const Words &action) const;

    std::vector<App> apps_; ///< those that have actions
    std::vector<QChar> units_;
    std::vector<std::uint32_t> starts_{0}; ///< of the words in `units_`; one more than there are
};

} // namespace corvid
