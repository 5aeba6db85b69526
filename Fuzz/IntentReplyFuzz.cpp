// Any body is read to an intent or to none. The one fatal stop, braces the wrong way round, is
// stepped around.
#include "Chat/ChatProtocol.h"

#include <cstdint>
#include <cstdlib>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

bool isFatal(const QString &text) {
    const qsizetype last = text.lastIndexOf(u'}');
    return last >= 0 && last < text.indexOf(u'{');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    // As a whole reply …
    const std::optional<QString> said = chat::content(bytes, "message"_L1);
    const bool readable = said && !isFatal(*said);
    if (readable && chat::intentFromReply(bytes) != chat::intentFromText(*said))
        std::abort();
    // … and as what a model said.
    const QString text = QString::fromUtf8(bytes);
    if (isFatal(text))
        return 0;
    const std::optional<Intent> intent = chat::intentFromText(text);
    if (intent && chat::intentFromText(u"```json\n"_s + text + u"\n```"_s) != intent)
        std::abort();
    return 0;
}
