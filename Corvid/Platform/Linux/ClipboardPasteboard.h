#pragma once

#include "Platform/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace corvid {

/** The desktop's clipboard. Needs a QGuiApplication. */
class ClipboardPasteboard final : public Pasteboard {
public:
    void setText(const QString &text) override {
        QGuiApplication::clipboard()->clear();
        QGuiApplication::clipboard()->setText(text);
    }
};

} // namespace corvid
