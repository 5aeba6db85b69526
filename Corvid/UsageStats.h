#pragma once

#include "Base/Settings.h"

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

    /** Launches by usage key. The reference is valid until the next call of any function here. */
    const settings::LaunchCounts &counts() const;
    /** The usage key chosen for a folded query. The reference is valid as that of counts() is. */
    const settings::QueryLatches &latches() const;

    /** The number that changes whenever a table may have changed. */
    quint64 generation() const { return defaults_.generation(); }

    /** Adds one launch. Nothing happens for an absent id. */
    void recordLaunch(const std::optional<QString> &id);

    /** Remembers `id` as the choice for the query (trimmed by the caller, lower-cased here). A
        table of more than 500 entries is emptied first: a crude bound, deliberately. Queries of
        more than 256 characters are not remembered. */
    void recordLatch(const QString &query, const QString &id);

    /** What forget() took away. Absent is what was not there. */
    struct Forgotten {
        QString id;
        std::optional<qint64> launches;
        std::optional<QString> query; ///< for which the id was the choice

        bool isNothing() const { return !launches && !query; }
    };
    /** Takes away the launches of an id, and the choice for the query (trimmed by the caller) where
        that is this id. */
    Forgotten forget(const QString &query, const QString &id);
    /** Puts it back as it was. What was recorded since stands instead. */
    void restore(const Forgotten &forgotten);

    /** Takes away all that was learnt: empties both tables, of whatever shape they are. */
    void forgetAll();
    /** How much was learnt, as people say it: "12 launches and 1 choice". Empty for none. */
    QString amount() const;

private:
    void readTables() const;

    UserDefaults &defaults_;
    // The tables as parsed at `readGeneration_`: parsing them at each key stroke would cost more
    // than the ranking does.
    mutable std::optional<quint64> readGeneration_;
    mutable settings::LaunchCounts counts_;
    mutable settings::QueryLatches latches_;
};

} // namespace corvid
