#pragma once

#include <QByteArray>

#include <optional>

namespace corvid {

/**
 * A picture without anything that leads out of its file: style sheets and pictures elsewhere, which
 * may be pipes and devices, are left out, as are the few things that take for ever to be laid out.
 * Absent when it is no sound XML, or when merely to draw it could take very long or much memory.
 *
 * Any thread.
 */
std::optional<QByteArray> harmlessSvg(const QByteArray &svg);

} // namespace corvid
