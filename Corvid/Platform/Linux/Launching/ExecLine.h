#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <vector>

namespace corvid {

/** What the field codes of an Exec line stand for, besides the files. */
struct ExecFields {
    QString name;      ///< %c, the localised name
    QString icon;      ///< %i, the Icon value; may be empty
    QString entryPath; ///< %k, the path of the entry file
};

/**
 * The command lines that open `urls` with a desktop entry's Exec line: one for each file where
 * the line takes a single file (%f, %u) or names none, else one for all. No shell looks at them.
 * A line without a code for files gets the file appended. Codes that stand for nothing vanish.
 *
 * Pure. Empty when the line is empty, names no program, or its quotes do not match.
 */
std::vector<QStringList> expandExec(const QString &exec, const ExecFields &fields,
                                    const QList<QUrl> &urls);

} // namespace corvid
