#pragma once

#include <QByteArray>
#include <QSize>

#include <optional>

namespace corvid {

/** The size in pixels of a picture in one of the formats that icons come in. Absent for any other:
    what else the machine has decoders for is not let loose on foreign bytes. Any thread. */
std::optional<QSize> rasterSize(QByteArray bytes);

/**
 * Whether an SVG drawing can be drawn without harm: it needs no other file, of which Qt opens any
 * that it names, also a pipe or a device, from which reading would never end; and to draw it takes
 * neither very long nor much memory. Any thread.
 */
bool isHarmlessDrawing(const QByteArray &svg);

} // namespace corvid
