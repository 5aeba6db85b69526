// Whatever a server replies, what is shown of it stays within its bounds.
#include "Chat/ChatErrors.h"
#include "Chat/ChatProtocol.h"

#include <cstdint>
#include <cstdlib>

using namespace corvid;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    constexpr qsizetype longestMessage = 501; // with the ellipsis
    if (chat::serverMessage(body).size() > longestMessage)
        std::abort();
    if (chat::adviceOn({429, body, body, QUrl::fromEncoded(body)}, {}).size() > 1000)
        std::abort();
    if (const std::optional<QStringList> names = chat::modelNames(body)) {
        if (names->size() > 2000)
            std::abort();
        for (const QString &name : *names)
            if (name.isEmpty() || name.size() > 200)
                std::abort();
    }
    return 0;
}
