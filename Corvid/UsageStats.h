#pragma once

#include "Platform/UserDefaults.h"

#include <QHash>
#include <QString>

namespace corvid {

/**
 * What the user has launched, and which result the user chose for which query. Both tables live
 * in the user defaults; what another process or a hand writes there is seen at the next read.
 * Main thread only. Nothing fails: a missing table, or one of another shape, reads as empty.
 */
class UsageStats {
public:
    explicit UsageStats(UserDefaults &defaults) : defaults_(defaults) {}

    /** The one instance of the process, on the standard user defaults. */
    static UsageStats &shared();

    /** Launches by usage key. The reference holds until the next call of anything here. */
    const QHash<QString, qint64> &counts() const;
    /** The usage key chosen for a folded query. The reference holds as counts() says. */
    const QHash<QString, QString> &latches() const;

    /** The number that changes whenever a table may have changed. */
    quint64 generation() const { return defaults_.generation(); }

    /** Adds one launch. Nothing happens for an absent id. */
    void recordLaunch(const std::optional<QString> &id);

    /** Remembers `id` as the choice for the query (trimmed by the caller, lower-cased here). A
        table of more than 500 entries is emptied first: a crude bound, deliberately. */
    void recordLatch(const QString &query, const QString &id);

private:
    void readTables() const;

    UserDefaults &defaults_;
    // The tables as parsed at `readGeneration_`; parsing them for each key stroke would cost more
    // than the ranking does.
    mutable std::optional<quint64> readGeneration_;
    mutable QHash<QString, qint64> counts_;
    mutable QHash<QString, QString> latches_;
};

} // namespace corvid
