#pragma once

#include <QCollator>

#include <algorithm>
#include <utility>
#include <vector>

namespace corvid {

/** Sorts records stably by their field `name`, in the localised, case-insensitive, ascending order
    of `locale`: by default that by whose rules this user's names are ordered. Any thread. */
template <typename Record>
void sortByName(std::vector<Record> &records,
                const QLocale &locale = QLocale::system().collation()) {
    // The C locale orders by code points, and its sort keys keep the letter case. A program
    // started without a language still shows its names to people: English has the world's
    // default order.
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    collator.setCaseSensitivity(Qt::CaseInsensitive);

    // Comparing keys is a comparison of bytes; comparing names walks the locale's rules each time.
    std::vector<std::pair<QCollatorSortKey, Record>> keyed;
    keyed.reserve(records.size());
    for (Record &record : records) {
        QCollatorSortKey key = collator.sortKey(record.name);
        keyed.emplace_back(std::move(key), std::move(record));
    }
    std::ranges::stable_sort(
        keyed, [](const auto &a, const auto &b) { return a.first.compare(b.first) < 0; });
    std::ranges::transform(keyed, records.begin(),
                           [](auto &entry) { return std::move(entry.second); });
}

} // namespace corvid
