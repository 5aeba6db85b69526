// What is left of a drawing is sound, no more than was there, leads nowhere, and stays as it is.
#include "FuzzInput.h"
#include "Platform/Linux/HarmlessSvg.h"

#include <QXmlStreamReader>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::optional<QByteArray> copy = harmlessSvg(fuzz::bytesOf(data, size));
    if (!copy)
        return 0;
    require(harmlessSvg(*copy) == copy, "a harmless drawing stays as it is");
    QXmlStreamReader xml(*copy);
    xml.setNamespaceProcessing(false);
    while (!xml.atEnd()) {
        xml.readNext();
        require(!xml.isProcessingInstruction() && !xml.isDTD(), "nothing but elements and text");
        if (!xml.isStartElement() || xml.name() != "image"_L1)
            continue;
        for (const QXmlStreamAttribute &attribute : xml.attributes())
            require(attribute.name() != "href"_L1 || attribute.value().startsWith("data:"_L1),
                    "every picture is within the file");
    }
    require(!xml.hasError(), "a drawing is sound");
    return 0;
}
