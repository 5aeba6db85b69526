#pragma once

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace corvid {

// The file of secrets: a line that says so, a nonce, and the encrypted JSON
// {"<service>": {"<account>": "<secret>"}}. libsodium must have been initialized.

/** How long a key is. */
inline constexpr qsizetype boxKeySize = 32;

/** A key by chance. */
QByteArray newBoxKey();

/** The file that keeps these secrets. */
QByteArray sealBox(const QJsonObject &table, const QByteArray &key);

/** The secrets in a file; absent when it is none, was changed, or has another key. For any
    bytes. */
std::optional<QJsonObject> openBox(const QByteArray &file, const QByteArray &key);

} // namespace corvid
