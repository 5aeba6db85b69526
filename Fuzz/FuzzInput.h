#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace corvid::fuzz {

/** Ends the run as a finding when a rule does not hold. */
inline void require(bool holds, const char *rule) {
    if (holds)
        return;
    std::fprintf(stderr, "broken rule: %s\n", rule);
    std::abort();
}

inline QByteArray bytesOf(const std::uint8_t *data, std::size_t size) {
    return {reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)};
}

/** The lines of the input as texts. A first byte of 0 says that the rest are UTF-16 units as they
    are, broken pairs included; any other input is UTF-8. */
inline QStringList linesOf(const std::uint8_t *data, std::size_t size) {
    QString text;
    if (size > 0 && data[0] == 0) {
        for (std::size_t i = 1; i + 1 < size; i += 2)
            text.append(QChar(static_cast<char16_t>(data[i] | data[i + 1] << 8)));
    } else {
        text = QString::fromUtf8(bytesOf(data, size));
    }
    return text.split(u'\n');
}

/** Whether a text survives being written as UTF-8. */
inline bool isWholeUnicode(const QString &text) {
    return QString::fromUtf8(text.toUtf8()) == text;
}

} // namespace corvid::fuzz
