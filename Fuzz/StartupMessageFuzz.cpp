// Whatever an entry says of itself, a startup message is one line of pairs that read back as they
// were given.
#include "FuzzInput.h"
#include "Platform/Linux/Launching/StartupNotifier.h"

using namespace corvid;
using fuzz::require;

namespace {

// Reads a message as desktops do: a value ends at its first quote that no backslash stands before.
StartupValues valuesIn(QByteArrayView text) {
    StartupValues values;
    while (!text.isEmpty()) {
        require(text.startsWith(' '), "a blank stands before every key");
        const qsizetype equals = text.indexOf('=');
        require(equals > 0 && text.sliced(equals + 1).startsWith('"'), "every value is quoted");
        const QByteArray key = text.sliced(1, equals - 1).toByteArray();
        QByteArray value;
        qsizetype at = equals + 2;
        for (; at < text.size() && text[at] != '"'; ++at) {
            if (text[at] == '\\')
                ++at;
            require(at < text.size(), "an escaped byte follows every backslash");
            value.append(text[at]);
        }
        require(at < text.size(), "every value ends");
        values.emplace_back(key, value);
        text = text.sliced(at + 1);
    }
    return values;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    StartupValues given;
    StartupValues expected;
    const QList<QByteArray> values = fuzz::bytesOf(data, size).split('\n');
    for (const QByteArray &value : values) {
        const QByteArray key = "KEY" + QByteArray::number(given.size());
        given.emplace_back(key, value);
        QByteArray kept = value;
        expected.emplace_back(key, kept.replace('\0', ""));
    }
    const QByteArray message = startupMessage("new", given);
    require(message.startsWith("new:"), "the kind comes first");
    require(!message.contains('\0'), "only the end of a message is a zero byte");
    require(valuesIn(QByteArrayView(message).sliced(4)) == expected, "read back as given");
    return 0;
}
