// defaults.json: what is written after reading holds everything that was read.
#include "FuzzInput.h"
#include "Platform/Linux/JsonUserDefaults.h"

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::optional<QJsonObject> object = decodeDefaults(fuzz::bytesOf(data, size));
    if (!object)
        return 0;
    const QByteArray written = encodeDefaults(*object);
    const std::optional<QJsonObject> again = decodeDefaults(written);
    require(again.has_value(), "what we write can be read");
    require(again->size() == object->size(), "no key gets lost");
    require(again == object || encodeDefaults(*again) == written, "read back as written");

    QJsonObject changed = *object;
    changed.insert(u"aiEnabled"_s, false);
    std::optional<QJsonObject> other = decodeDefaults(encodeDefaults(changed));
    require(other && other->value(u"aiEnabled"_s) == QJsonValue(false), "a change is in the file");
    QJsonObject rest = *again;
    rest.remove(u"aiEnabled"_s);
    other->remove(u"aiEnabled"_s);
    require(*other == rest, "a change leaves all other keys as they are");
    return 0;
}
