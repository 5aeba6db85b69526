#pragma once

#include <QString>

namespace corvid {

/**
 * The name of the program that a desktop entry's Exec line runs: the file name behind env, pkexec,
 * an interpreter, flatpak run --command=…, or sh -c "…" with a single command. Empty when the
 * line is empty, its quoting is damaged, or the text alone does not tell. Pure.
 */
QString programName(const QString &exec);

} // namespace corvid
