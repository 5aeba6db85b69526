#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace corvid {

/**
 * The command line that runs `program` (a command line itself) in the user's terminal.
 *
 * In this order, the first that is installed: the desktop-neutral chooser xdg-terminal-exec, the
 * terminals of `preferred` (each a program's name or path, possibly with arguments, in the user's
 * or the desktop's own words; empty ones are passed over), x-terminal-emulator, then the terminals
 * we know. Each is told to execute in its own dialect, an unknown one by "-e".
 *
 * Pure: `installed` says whether a program can be run. Nothing when there is no terminal.
 */
std::optional<QStringList> terminalCommand(const QStringList &program, const QStringList &preferred,
                                           const std::function<bool(const QString &)> &installed);

} // namespace corvid
