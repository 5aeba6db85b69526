#include "Base/NameOrder.h"

#include <QCollator>

namespace corvid {

QLocale nameLocale() {
    return QLocale::system().collation();
}

std::vector<std::size_t> nameOrder(std::span<const QString *const> names, const QLocale &locale) {
    // The C locale orders by code points, and its sort keys keep the letter case. A program
    // started without a language still shows its names to people: English has the world's
    // default order.
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    collator.setCaseSensitivity(Qt::CaseInsensitive);

    // Comparing keys is a comparison of bytes; comparing names walks the locale's rules each time.
    std::vector<std::pair<QCollatorSortKey, std::size_t>> keys;
    keys.reserve(names.size());
    for (std::size_t index = 0; index < names.size(); ++index)
        keys.emplace_back(collator.sortKey(*names[index]), index);
    std::stable_sort(keys.begin(), keys.end(),
                     [](const auto &a, const auto &b) { return a.first.compare(b.first) < 0; });

    std::vector<std::size_t> order(keys.size());
    std::transform(keys.begin(), keys.end(), order.begin(),
                   [](const auto &key) { return key.second; });
    return order;
}

} // namespace corvid
