#pragma once

#include "Platform/DesktopEntries.h"
#include "Platform/Workspace.h"

#include <QByteArray>

#include <functional>
#include <optional>

namespace corvid {

/** The desktop ids that a list of xdg-terminal-exec prefers, without ".desktop". Pure, for any
    bytes. */
QStringList preferredTerminalIds(const QByteArray &list);

/** The ids of all of the user's and the system's lists for this desktop, in their order. Reads
    files; background only. */
QStringList preferredTerminalIds();

/**
 * The terminal that the user or the desktop prefers: the first of `ids` among the entries, else the
 * first of terminalsInOrder(`preferred`) that is installed, by its entry where it has one, else the
 * first terminal among the entries. Nothing where there is none.
 *
 * `executable` says where a program lies; empty when it is not installed. Follows links of these
 * files, as a distribution's choice is one. Background only.
 */
std::optional<Workspace::Terminal>
defaultTerminal(const std::vector<DesktopEntry> &entries, const QStringList &ids,
                const QStringList &preferred,
                const std::function<QString(const QString &program)> &executable);

} // namespace corvid
