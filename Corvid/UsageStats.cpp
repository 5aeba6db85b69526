#include "UsageStats.h"

#include <QJsonObject>

#include <cmath>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString launchCountsKey = u"launchCounts"_s;
const QString queryLatchesKey = u"queryLatches"_s;
constexpr qsizetype mostLatches = 500;

std::optional<qint64> integerIn(const QJsonValue &value) {
    if (!value.isDouble())
        return std::nullopt;
    // Two different defaults tell an integer from a number that does not fit one.
    if (const qint64 number = value.toInteger(0); number == value.toInteger(1))
        return number;
    return std::nullopt;
}

QHash<QString, qint64> countsIn(const QJsonValue &table) {
    QHash<QString, qint64> counts;
    const QJsonObject object = table.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const std::optional<qint64> count = integerIn(entry.value());
        if (!count)
            return {};
        counts.insert(entry.key(), *count);
    }
    return counts;
}

QHash<QString, QString> latchesIn(const QJsonValue &table) {
    QHash<QString, QString> latches;
    const QJsonObject object = table.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (!entry.value().isString())
            return {};
        latches.insert(entry.key(), entry.value().toString());
    }
    return latches;
}

template <typename Table>
QJsonObject toObject(const Table &table) {
    QJsonObject object;
    for (auto entry = table.begin(); entry != table.end(); ++entry)
        object.insert(entry.key(), entry.value());
    return object;
}

} // namespace

UsageStats &UsageStats::shared() {
    static UsageStats stats(UserDefaults::standard());
    return stats;
}

const QHash<QString, qint64> &UsageStats::counts() const {
    readTables();
    return counts_;
}

const QHash<QString, QString> &UsageStats::latches() const {
    readTables();
    return latches_;
}

void UsageStats::recordLaunch(const std::optional<QString> &id) {
    if (!id)
        return;
    defaults_.update(launchCountsKey, [id = *id](const QJsonValue &table) -> QJsonValue {
        QHash<QString, qint64> counts = countsIn(table);
        qint64 &count = counts[id];
        if (__builtin_add_overflow(count, 1, &count))
            qFatal("the launch count of %s overflows", qPrintable(id));
        return toObject(counts);
    });
}

void UsageStats::recordLatch(const QString &query, const QString &id) {
    defaults_.update(queryLatchesKey,
                     [query = query.toLower(), id](const QJsonValue &table) -> QJsonValue {
                         QHash<QString, QString> latches = latchesIn(table);
                         if (latches.size() > mostLatches)
                             latches.clear();
                         latches.insert(query, id);
                         return toObject(latches);
                     });
}

void UsageStats::readTables() const {
    const quint64 generation = defaults_.generation();
    if (readGeneration_ == generation)
        return;
    counts_ = countsIn(defaults_.value(launchCountsKey));
    latches_ = latchesIn(defaults_.value(queryLatchesKey));
    readGeneration_ = generation;
}

} // namespace corvid
