#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <vector>

namespace corvid {

/** What a desktop entry says of the application, besides how to run it. */
struct LaunchedEntry {
    QString name;                 ///< the localised name; %c in the Exec line
    QString icon;                 ///< the Icon value, %i; may be empty
    QString path;                 ///< of the entry file, %k
    QString windowClass = {};     ///< StartupWMClass; may be empty
    bool notifiesOfStart = false; ///< the program says when it has started
};

/** The words of an Exec line or of a shell's command, without their quotes; none when the quotes do
    not match. Pure. */
QStringList execWords(const QString &exec);

/**
 * The command lines that open `urls` with a desktop entry's Exec line: one for each file where
 * the line takes a single file (%f, %u) or names none, else one for all. No shell looks at them.
 * A line without a code for files gets the file appended. Codes that stand for nothing vanish.
 *
 * Pure. Empty when the line is empty, names no program, or its quotes do not match.
 */
std::vector<QStringList> expandExec(const QString &exec, const LaunchedEntry &entry,
                                    const QList<QUrl> &urls);

/** Whether an Exec line has a code for files. */
bool takesFiles(const QString &exec);

/** A file's path, or the encoded address of anything else. */
QString pathOrAddress(const QUrl &url);

} // namespace corvid
