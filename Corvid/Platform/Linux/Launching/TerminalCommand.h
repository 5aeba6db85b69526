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
 * Where a folder is given the terminal is told to work there, if it is one that does not just take
 * over the working folder of the process that is started.
 *
 * Pure: `installed` says whether a program can be run. Nothing when there is no terminal.
 */
std::optional<QStringList> terminalCommand(const QStringList &program, const QStringList &preferred,
                                           const std::function<bool(const QString &)> &installed,
                                           const QString &folder = {});

/** The terminals among which terminalCommand() chooses, in their order, without the chooser. */
QStringList terminalsInOrder(const QStringList &preferred);

/**
 * The command line that opens a terminal's window in a folder. `line` opens the terminal: its
 * program with arguments, also by way of flatpak. A terminal that we know is told in its own
 * dialect, without the arguments; any other by `folderOption`, which its entry may name, else it is
 * left to take over the working folder of its process. Pure.
 */
QStringList terminalInFolder(const QStringList &line, const QString &folder,
                             const QString &folderOption = {});

} // namespace corvid
