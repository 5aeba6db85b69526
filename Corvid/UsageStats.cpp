#include "UsageStats.h"

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

UsageStats &UsageStats::shared() {
    static UsageStats stats(UserDefaults::standard());
    return stats;
}

const settings::LaunchCounts &UsageStats::counts() const {
    readTables();
    return counts_;
}

const settings::QueryLatches &UsageStats::latches() const {
    readTables();
    return latches_;
}

void UsageStats::recordLaunch(const std::optional<QString> &id) {
    if (!id)
        return;
    settings::updateLaunchCounts(defaults_, [id = *id](settings::LaunchCounts &counts) {
        qint64 &count = counts[id];
        if (__builtin_add_overflow(count, 1, &count))
            qFatal("the launch count of %s overflows", qPrintable(id));
    });
}

void UsageStats::recordLatch(const QString &query, const QString &id) {
    constexpr qsizetype mostLatches = 500;
    // Pasted, not typed, and never again: hundreds of them would outgrow the settings' file.
    constexpr qsizetype longestQuery = 256;
    if (query.size() > longestQuery)
        return;
    settings::updateQueryLatches(defaults_,
                                 [query = query.toLower(), id](settings::QueryLatches &latches) {
                                     if (latches.size() > mostLatches)
                                         latches.clear();
                                     latches.insert(query, id);
                                 });
}

UsageStats::Forgotten UsageStats::forget(const QString &query, const QString &id) {
    Forgotten result{.id = id, .launches = {}, .query = {}};
    readTables();
    if (const auto count = counts_.constFind(id); count != counts_.constEnd())
        result.launches = *count;
    if (const auto choice = latches_.constFind(query.toLower());
        choice != latches_.constEnd() && *choice == id)
        result.query = choice.key();
    if (result.launches)
        settings::updateLaunchCounts(defaults_,
                                     [id](settings::LaunchCounts &counts) { counts.remove(id); });
    if (result.query)
        settings::updateQueryLatches(defaults_,
                                     [folded = *result.query, id](settings::QueryLatches &latches) {
                                         if (latches.value(folded) == id)
                                             latches.remove(folded);
                                     });
    return result;
}

void UsageStats::restore(const Forgotten &forgotten) {
    const QString &id = forgotten.id;
    if (const auto launches = forgotten.launches)
        settings::updateLaunchCounts(defaults_,
                                     [id, count = *launches](settings::LaunchCounts &counts) {
                                         if (!counts.contains(id))
                                             counts.insert(id, count);
                                     });
    if (const auto &query = forgotten.query)
        settings::updateQueryLatches(defaults_,
                                     [id, folded = *query](settings::QueryLatches &latches) {
                                         if (!latches.contains(folded))
                                             latches.insert(folded, id);
                                     });
}

void UsageStats::forgetAll() {
    settings::updateLaunchCounts(defaults_, [](settings::LaunchCounts &counts) { counts.clear(); });
    settings::updateQueryLatches(defaults_,
                                 [](settings::QueryLatches &latches) { latches.clear(); });
}

QString UsageStats::amount() const {
    readTables();
    if (counts_.isEmpty() && latches_.isEmpty())
        return {};
    // Counts may come from a hand that wrote anything.
    double launches = 0;
    for (const qint64 count : std::as_const(counts_))
        launches += static_cast<double>(count);
    const auto counted = [](double number, const QString &what, const QString &whats) {
        return QString::number(number, 'f', 0) + u' ' + (number == 1 ? what : whats);
    };
    return counted(launches, u"launch"_s, u"launches"_s) + u" and "_s +
           counted(static_cast<double>(latches_.size()), u"choice"_s, u"choices"_s);
}

void UsageStats::readTables() const {
    const quint64 generation = defaults_.generation();
    if (readGeneration_ == generation)
        return;
    counts_ = settings::launchCounts(defaults_);
    latches_ = settings::queryLatches(defaults_);
    readGeneration_ = generation;
}

} // namespace corvid
