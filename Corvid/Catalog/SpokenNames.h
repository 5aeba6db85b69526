#pragma once

#include <QString>

// What a person types for an application besides the names that its entry gives it. Pure; empty
// where there is nothing to type.
namespace corvid {

/** The program's own name: one or two words, without a version and without what packages append.
    Empty for names that nobody types, and for programs that run what others made. */
QString spokenProgram(const QString &program, const QString &entryId);

/** "Rust Rover" for "RustRover"; only names of one word are split. */
QString splitCamelCase(const QString &name);

/** A letter for each word, where there are two and more: "vsc" for "Visual Studio Code". */
QString initialsOf(const QString &name);

} // namespace corvid
