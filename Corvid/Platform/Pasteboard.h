#pragma once

#include "Platform/Port.h"

#include <QString>

namespace corvid {

/** The general pasteboard (clipboard). Main thread only. */
class Pasteboard : public Port {
public:
    /** Clears the pasteboard, then puts the text on it as plain text (also an empty text). */
    virtual void setText(const QString &text) = 0;
};

} // namespace corvid
