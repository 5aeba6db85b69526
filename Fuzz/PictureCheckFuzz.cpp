// A drawing that passes for harmless is sound and names no other file.
#include "FuzzInput.h"
#include "Platform/Linux/Icons/PictureCheck.h"

#include <QXmlStreamReader>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray svg = fuzz::bytesOf(data, size);
    if (!isHarmlessDrawing(svg))
        return 0;
    QXmlStreamReader xml(svg);
    xml.setNamespaceProcessing(false);
    while (!xml.atEnd()) {
        xml.readNext();
        require(!xml.isProcessingInstruction() ||
                    xml.processingInstructionTarget() != "xml-stylesheet"_L1,
                "no style sheet is elsewhere");
        if (!xml.isStartElement() || xml.name() != "image"_L1)
            continue;
        for (const QXmlStreamAttribute &attribute : xml.attributes())
            require(attribute.name() != "href"_L1 || attribute.value().startsWith("data:"_L1),
                    "every picture is within the file");
    }
    require(!xml.hasError(), "a harmless drawing is sound");
    return 0;
}
