#pragma once

#include "Platform/Pasteboard.h"

#include <QStringList>

namespace corvid {

/** Keeps every text that was put on it, in order. */
class FakePasteboard final : public Pasteboard {
public:
    QStringList texts;

    void setText(const QString &text) override { texts.append(text); }
};

} // namespace corvid
