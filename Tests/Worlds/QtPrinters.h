#pragma once

#include <QString>

#include <ostream>

/** Lets a failed comparison show strings as text. */
inline void PrintTo(const QString &string, std::ostream *out) {
    *out << '"' << string.toStdString() << '"';
}
