#pragma once

#include <QLocale>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace corvid {

/** The locale by whose rules this user's names are ordered. Any thread. */
QLocale nameLocale();

/** The permutation that puts the names in ascending order: the localised, case-insensitive
    comparison of `locale`, equal names in their present order. Any thread. */
std::vector<std::size_t> nameOrder(std::span<const QString *const> names,
                                   const QLocale &locale = nameLocale());

/** Sorts records stably by their field `name`: localised, case-insensitive, ascending. Any
    thread. */
template <typename Record>
void sortByName(std::vector<Record> &records) {
    std::vector<const QString *> names(records.size());
    std::transform(records.begin(), records.end(), names.begin(),
                   [](const Record &record) { return &record.name; });
    std::vector<Record> sorted;
    sorted.reserve(records.size());
    for (const std::size_t index : nameOrder(names))
        sorted.push_back(std::move(records[index]));
    records = std::move(sorted);
}

} // namespace corvid
