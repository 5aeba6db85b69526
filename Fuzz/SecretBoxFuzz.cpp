// The file of secrets: no bytes but those that the key has sealed are opened, and what was sealed
// comes back as it was.
#include "FuzzInput.h"
#include "Platform/Linux/Secrets/SecretBox.h"

#include <QJsonDocument>

#include <sodium.h>

using namespace corvid;
using fuzz::require;

namespace {

const QByteArray key(boxKeySize, 'k');

/** The envelope of any text, whether it is a table or not. */
QByteArray envelopeOf(const QByteArray &text) {
    const QByteArray nonce(crypto_secretbox_NONCEBYTES, 'n');
    QByteArray box(text.size() + crypto_secretbox_MACBYTES, Qt::Uninitialized);
    crypto_secretbox_easy(reinterpret_cast<unsigned char *>(box.data()),
                          reinterpret_cast<const unsigned char *>(text.constData()),
                          static_cast<unsigned long long>(text.size()),
                          reinterpret_cast<const unsigned char *>(nonce.constData()),
                          reinterpret_cast<const unsigned char *>(key.constData()));
    return "Corvid secrets 1\n" + nonce + box;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*count*/, char *** /*arguments*/) {
    return sodium_init() < 0 ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    require(!openBox(bytes, key), "what nobody has sealed is not opened");
    require(!openBox("Corvid secrets 1\n" + bytes, key), "nor is it behind the right line");

    const QByteArray envelope = envelopeOf(bytes);
    const auto table = openBox(envelope, key);
    require(table.has_value() == QJsonDocument::fromJson(bytes).isObject(),
            "only a table is taken for one");
    require(!openBox(envelope, QByteArray(boxKeySize, 'x')), "another key opens nothing");
    require(!openBox(envelope, bytes.left(boxKeySize - 1)), "half a key opens nothing");
    QByteArray changed = envelope;
    const qsizetype at = size == 0 ? 0 : data[size - 1] * changed.size() / 256;
    changed[at] = static_cast<char>(changed[at] ^ 1);
    require(!openBox(changed, key), "what was changed is not opened");
    require(!openBox(envelope.chopped(1), key), "nor is what was cut off");
    if (table)
        require(openBox(sealBox(*table, key), key) == table, "read back as sealed");
    return 0;
}
