#pragma once

#include <QString>

#include <optional>

namespace corvid {

/**
 * The own name of the program that a desktop entry's Exec line runs: the file name behind
 * wrappers such as env, sh -c "…", flatpak run --command=… or pkexec. Absent when there is no
 * line, when its quoting is damaged, or when what it runs cannot be told from its text. Pure.
 */
std::optional<QString> programName(const QString &exec);

} // namespace corvid
