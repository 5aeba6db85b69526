#include "Platform/Linux/Secrets/SecretBox.h"

#include "Base/Wipe.h"

#include <QJsonDocument>

#include <sodium.h>

namespace corvid {

namespace {

const QByteArray magic = "Corvid secrets 1\n";
constexpr qsizetype nonceSize = crypto_secretbox_NONCEBYTES;
static_assert(boxKeySize == crypto_secretbox_KEYBYTES);
constexpr qsizetype macSize = crypto_secretbox_MACBYTES;

unsigned char *bytes(QByteArray &array) {
    return reinterpret_cast<unsigned char *>(array.data());
}
const unsigned char *bytes(const QByteArray &array) {
    return reinterpret_cast<const unsigned char *>(array.constData());
}

} // namespace

QByteArray newBoxKey() {
    QByteArray key(boxKeySize, Qt::Uninitialized);
    crypto_secretbox_keygen(bytes(key));
    return key;
}

QByteArray sealBox(const QJsonObject &table, const QByteArray &key) {
    QByteArray plainText = QJsonDocument(table).toJson(QJsonDocument::Compact);
    QByteArray nonce(nonceSize, Qt::Uninitialized);
    randombytes_buf(nonce.data(), static_cast<std::size_t>(nonceSize));
    QByteArray box(plainText.size() + macSize, Qt::Uninitialized);
    crypto_secretbox_easy(bytes(box), bytes(plainText),
                          static_cast<unsigned long long>(plainText.size()), bytes(nonce),
                          bytes(key));
    wipe(plainText);
    return magic + nonce + box;
}

std::optional<QJsonObject> openBox(const QByteArray &file, const QByteArray &key) {
    const qsizetype start = magic.size() + nonceSize;
    if (key.size() != boxKeySize || !file.startsWith(magic) || file.size() < start + macSize)
        return std::nullopt;
    QByteArray plainText(file.size() - start - macSize, Qt::Uninitialized);
    if (crypto_secretbox_open_easy(bytes(plainText), bytes(file) + start,
                                   static_cast<unsigned long long>(file.size() - start),
                                   bytes(file) + magic.size(), bytes(key)) != 0)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(plainText);
    wipe(plainText);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

} // namespace corvid
