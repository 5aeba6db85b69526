#pragma once

#include <QStringList>

namespace corvid {

/** The names of what lies in a folder, hidden ones as well, in the order of their characters. Those
    that are no text are left out, and nothing else with them: QDir of Qt 6.8 stops at the first.
    Empty when the folder cannot be read. Any thread. */
QStringList namesInFolder(const QString &folder);

} // namespace corvid
