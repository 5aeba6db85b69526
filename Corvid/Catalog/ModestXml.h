#pragma once

#include <QByteArray>

namespace corvid {

/**
 * Whether Qt's XML reader reads a document in time and memory proportional to its size. With
 * thousands of attributes of one element, of namespaces or of declarations it needs time in the
 * square of them, hours for a few megabytes; and it needs memory for each level of nesting. No
 * document that people made has so many.
 *
 * Says nothing of whether the document is sound. Takes as long as reading it; any thread.
 */
bool isModestXml(const QByteArray &bytes);

} // namespace corvid
