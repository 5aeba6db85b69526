#pragma once

#include <QString>

#include <optional>

namespace corvid {

/**
 * The name of the program that a desktop entry's Exec line runs: the file name behind env, pkexec,
 * an interpreter, flatpak run --command=…, or sh -c "…" with a single command. Absent when the
 * line is empty, its quoting is damaged, or the text alone does not tell. Pure.
 */
std::optional<QString> programName(const QString &exec);

} // namespace corvid
