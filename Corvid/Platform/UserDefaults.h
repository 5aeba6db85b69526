#pragma once

#include "Platform/Port.h"

#include <QJsonValue>
#include <QString>

#include <functional>

namespace corvid {

/**
 * The user-defaults store: one flat table of JSON values, shared with other processes and
 * edited by hand. Main thread only. Nothing here fails: an unreadable store reads as empty, a
 * write that cannot be carried out is lost.
 */
class UserDefaults : public Port {
public:
    /** Computes a key's new value from its present one (undefined when absent). Pure: it may
        run more than once and on another thread. */
    using Change = std::function<QJsonValue(const QJsonValue &)>;

    /** The process-wide store, which the platform installs before anything asks for it; asking
        earlier is a fatal programming error. The store must outlive its users. */
    static UserDefaults &standard() {
        if (!standard_)
            qFatal("the standard user defaults were used before the platform installed them");
        return *standard_;
    }
    static void installStandard(UserDefaults *store) { standard_ = store; }

    /** The stored value, as fresh as the store itself; undefined when absent. */
    virtual QJsonValue value(const QString &key) const = 0;

    /** Replaces one value by what `change` makes of the present one, leaving all other keys as
        any process last wrote them. Visible to the very next value(). */
    virtual void update(const QString &key, const Change &change) = 0;

    /** A number that differs whenever a value may have changed since the number was last asked
        for, whoever changed it. Cheap enough for every key stroke. */
    virtual quint64 generation() const = 0;

    /** Returns when every update so far is in the store. */
    virtual void synchronize() = 0;

    void set(const QString &key, const QJsonValue &newValue) {
        update(key, [newValue](const QJsonValue &) { return newValue; });
    }

private:
    inline static UserDefaults *standard_ = nullptr;
};

} // namespace corvid
