#pragma once

#include "Platform/Pasteboard.h"

namespace corvid {

/** The desktop's clipboard. Needs a QGuiApplication. */
class ClipboardPasteboard final : public Pasteboard {
public:
    void setText(const QString &text) override;
};

} // namespace corvid
