#include "UsageStats.h"

namespace corvid {

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

void UsageStats::readTables() const {
    const quint64 generation = defaults_.generation();
    if (readGeneration_ == generation)
        return;
    counts_ = settings::launchCounts(defaults_);
    latches_ = settings::queryLatches(defaults_);
    readGeneration_ = generation;
}

} // namespace corvid
