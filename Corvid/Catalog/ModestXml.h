#pragma once

#include <QByteArray>

namespace corvid {

/**
 * Whether Qt's XML reader gets through a document in time and memory that are proportional to its
 * size. Otherwise it takes the square of it, which for a few megabytes is hours, for thousands of
 * attributes of one element, of namespaces or of declarations, and memory for each level of
 * nesting. No document that people made has so many.
 *
 * Says nothing of whether the document is sound. Takes as long as reading it; any thread.
 */
bool isModestXml(const QByteArray &bytes);

} // namespace corvid
