#include "Platform/Linux/ClipboardPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace corvid {

void ClipboardPasteboard::setText(const QString &text) {
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(text);
}

} // namespace corvid
