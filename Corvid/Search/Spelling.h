#pragma once

#include <QString>
#include <QStringView>

/** How people misspell. Pure, any thread. */
namespace corvid::spelling {

/** Writes `text`, which is folded, without accents and other marks over its letters. Reuses the
    memory of `plain`. */
void removeAccents(QStringView text, QString &plain);

/** Whether the two differ in one letter: wrong, missing, added, or swapped with its neighbour. */
bool isOneSlip(QStringView one, QStringView other);

} // namespace corvid::spelling
