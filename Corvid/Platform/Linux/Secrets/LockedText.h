#pragma once

#include <QString>

#include <cstddef>
#include <memory>

namespace corvid {

/** A text in memory that is never written to a swap file, lies apart from everything else between
    guard pages, and is overwritten when nobody has it any more. Never changes; copies share it. */
class LockedText {
public:
    explicit LockedText(QStringView text);

    /** A copy in ordinary memory; to be wiped after use. */
    QString copy() const { return view().toString(); }

    bool operator==(const LockedText &other) const { return view() == other.view(); }

private:
    QStringView view() const { return {characters_.get(), size_}; }

    std::shared_ptr<const QChar> characters_; ///< null without any
    qsizetype size_ = 0;
};

} // namespace corvid
