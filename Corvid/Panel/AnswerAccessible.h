#pragma once

class QAccessibleInterface;
class QObject;
class QString;

namespace corvid {

/** Makes what a screen reader finds of an AnswerArea: its text without markup, each paragraph, line
    of code and cell of a table ended by a line end. Qt's own ends cells by code points that mean
    nothing outside of it. Null for other objects; to be installed as a factory. Main thread only.
 */
QAccessibleInterface *answerAccessible(const QString &className, QObject *object);

} // namespace corvid
