#pragma once

#include <QString>
#include <QStringView>

/** How people misspell. Pure, any thread. */
namespace corvid::spelling {

/** `text`, which is folded, without accents and other marks over its letters. Where it has none it
    is the text itself; else it stands in `memory`, which is reused. */
QStringView withoutAccents(QStringView text, QString &memory);

/** Whether the two differ in one letter: wrong, missing, added, or swapped with its neighbour. */
bool isOneSlip(QStringView one, QStringView other);

} // namespace corvid::spelling
