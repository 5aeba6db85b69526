#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

namespace corvid {

/**
 * Reads a streamed chat answer: bytes in any portions in, pieces of text out. Lines end in LF,
 * CRLF or CR and count as soon as their end is here; a character may be cut between two
 * portions. Keeps at most maxLine bytes, whatever a server sends. Nothing here fails: what
 * cannot be read is skipped. Any one thread.
 */
class ServerSentEvents {
public:
    static constexpr qsizetype maxLine = 1 << 20;   ///< bytes of one line
    static constexpr qsizetype maxAnswer = 1 << 20; ///< UTF-16 units of all pieces together

    /** The last piece of an answer that outgrew its bounds. */
    static QString cutOffText();

    /** Takes the next bytes and appends the pieces of text that they complete. False when the
        answer is complete or was cut off: further bytes mean nothing. */
    bool read(QByteArrayView bytes, QStringList &pieces);

    /** The server has sent everything: an unfinished line counts as a line. */
    void finish(QStringList &pieces);

    /** Bytes kept of the unfinished line. */
    qsizetype buffered() const { return line_.size(); }

private:
    void endLine(QStringList &pieces);
    void cutOff(QStringList &pieces);

    QByteArray line_;           ///< the beginning of the unfinished line
    bool ignoringLine_ = false; ///< that line is not a data line
    qsizetype answerSize_ = 0;
    bool ended_ = false;
};

} // namespace corvid
