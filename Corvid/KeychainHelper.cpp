#include "KeychainHelper.h"

#include "Platform/SecretStore.h"

namespace corvid {

const QString KeychainHelper::aiApiKey = QStringLiteral("ai-api-key");

KeychainHelper::KeychainHelper(SecretStore &store) : store_(store) {
    get(aiApiKey);
}

std::optional<QString> KeychainHelper::get(const QString &key) const {
    return store_.get(key);
}

void KeychainHelper::save(const QString &key, const QString &value) {
    store_.set(key, value);
}

} // namespace corvid
