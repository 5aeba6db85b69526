// CrashWriter [<rounds>]: writes both caches and the user defaults, without end or so many
// rounds, going on from where the last run was stopped.

#include "Base/Locations.h"
#include "Catalog/JsonCache.h"
#include "Platform/Linux/JsonUserDefaults.h"

#include <cstdlib>
#include <limits>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

// Every record of a file carries the round; the lists differ in length from round to round.
template <typename Record>
std::vector<Record> recordsOf(qint64 round) {
    const QString name = QString::number(round);
    std::vector<Record> records(static_cast<size_t>(100 + round % 100));
    for (size_t i = 0; i < records.size(); ++i) {
        records[i].name = name;
        records[i].path = u"/some/where/%1"_s.arg(i);
    }
    return records;
}

} // namespace

int main(int argc, char **argv) {
    qint64 rounds = argc > 1 ? std::atoll(argv[1]) : std::numeric_limits<qint64>::max();
    JsonUserDefaults defaults;
    for (qint64 round = defaults.value(u"second"_s).toInteger() + 1; rounds > 0;
         ++round, --rounds) {
        defaults.set(u"first"_s, round);
        defaults.update(u"counts"_s, [](const QJsonValue &present) {
            QJsonObject counts = present.toObject();
            const QString key = u"key %1"_s.arg(counts.size());
            return counts.size() < 200 ? (counts.insert(key, counts.size()), counts) : counts;
        });
        defaults.set(u"second"_s, round);
        writeCache(locations::cacheFile(u"catalog.json"_s), recordsOf<AppEntry>(round));
        writeCache(locations::cacheFile(u"projects.json"_s), recordsOf<ProjectEntry>(round));
    }
    return EXIT_SUCCESS;
}
