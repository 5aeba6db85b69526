#include "Platform/Linux/Secrets/LockedText.h"

#include <algorithm>

#include <sodium.h>

namespace corvid {

LockedText::LockedText(QStringView text) : size_(text.size()) {
    if (text.isEmpty())
        return;
    if (sodium_init() < 0)
        qFatal("libsodium has no source of random numbers");
    // Locks it as far as the system allows that.
    void *const memory = sodium_allocarray(static_cast<std::size_t>(size_), sizeof(QChar));
    if (!memory)
        qBadAlloc();
    auto *const characters = static_cast<QChar *>(memory);
    std::copy(text.begin(), text.end(), characters);
    sodium_mprotect_readonly(memory);
    characters_ = std::shared_ptr<const QChar>(
        characters, [](const QChar *own) { sodium_free(const_cast<QChar *>(own)); });
}

} // namespace corvid
