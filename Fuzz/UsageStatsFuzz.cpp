// Launch counts and latches of any shape: one launch more is one launch more, and a latch is found
// again. The one fatal stop, a count at its end, is stepped around.
#include "Fakes/FakeUserDefaults.h"
#include "FuzzInput.h"
#include "UsageStats.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QJsonObject stored = QJsonDocument::fromJson(fuzz::bytesOf(data, size)).object();
    FakeUserDefaults defaults;
    for (const QString &key : {u"launchCounts"_s, u"queryLatches"_s})
        defaults.set(key, stored.value(key));
    UsageStats stats(defaults);
    const QHash<QString, qint64> counts = stats.counts();
    const QHash<QString, QString> latches = stats.latches();
    require(counts.isEmpty() || counts.size() == stored[u"launchCounts"_s].toObject().size(),
            "all counts or none");
    require(latches.isEmpty() || latches.size() == stored[u"queryLatches"_s].toObject().size(),
            "all latches or none");

    const QString id = counts.isEmpty() ? u"app"_s : counts.begin().key();
    if (counts.value(id) < std::numeric_limits<qint64>::max()) {
        stats.recordLaunch(id);
        QHash<QString, qint64> wanted = counts;
        ++wanted[id];
        require(stats.counts() == wanted, "a launch counts one, for itself");
    }
    const QString query = latches.isEmpty() ? u"Query"_s : latches.begin().key();
    stats.recordLatch(query, id);
    require(stats.latches().value(query.toLower()) == id, "a latch is found again");
    require(stats.latches().size() <= 501, "latches do not grow without end");
    return 0;
}
