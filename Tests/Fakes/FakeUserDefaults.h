#pragma once

#include "Platform/UserDefaults.h"

#include <QHash>

namespace corvid {

/** A store in memory. */
class FakeUserDefaults final : public UserDefaults {
public:
    QJsonValue value(const QString &key) const override {
        return values_.value(key, QJsonValue(QJsonValue::Undefined));
    }

    void update(const QString &key, const Change &change) override {
        const QJsonValue changed = change(value(key));
        if (changed.isUndefined())
            values_.remove(key);
        else
            values_.insert(key, changed);
        ++generation_;
    }

    quint64 generation() const override { return generation_; }

    void synchronize() override {}

private:
    QHash<QString, QJsonValue> values_;
    quint64 generation_ = 0;
};

} // namespace corvid
