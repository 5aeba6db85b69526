#pragma once

#include <gio/gio.h>

#include <QString>
#include <QUrl>

#include <optional>

namespace corvid {

/**
 * Asks the desktop's file manager to show a file or folder, by a method of the interface
 * org.freedesktop.FileManager1. Empty for success; the reason in words where it has not answered in
 * time, for it may still show its window; absent when there is none, or it refuses. Blocks until
 * then or until `shutdown` is cancelled; background only.
 */
std::optional<QString> askFileManager(const char *method, const QUrl &url, GCancellable *shutdown);

} // namespace corvid
