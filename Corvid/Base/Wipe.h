#pragma once

#include <QByteArray>
#include <QString>

#include <cstring>

namespace corvid {

/** Overwrites a secret that is no longer needed, so that memory does not keep it. One that is still
    shared is not ours to overwrite: the last to hold it does that. */
template <typename Text>
void wipe(Text &secret) {
    if (!secret.isEmpty() && secret.isDetached())
        explicit_bzero(secret.data(), static_cast<std::size_t>(secret.size()) * sizeof(secret[0]));
}

} // namespace corvid
