#include "Platform/Linux/Icons/PictureCheck.h"

#include "Catalog/ModestXml.h"

#include <QBuffer>
#include <QImageReader>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype mostElements = 10'000;
constexpr qsizetype mostElementsWithDashes = 500; // of which there can be thousands to a line
constexpr qsizetype mostText = 256 * 1024;
constexpr qsizetype mostStyleChecks = 2'000'000; // each rule is compared with each element
constexpr qint64 mostPixels = 4 * 1024 * 1024;   // of all embedded pictures

/** Reads a drawing and adds up what it would cost. */
class Cost {
public:
    /** False when the drawing does harm, or is no sound XML. */
    bool add(QXmlStreamReader &xml) {
        while (!xml.atEnd()) {
            const QXmlStreamReader::TokenType token = xml.readNext();
            if ((token == QXmlStreamReader::ProcessingInstruction &&
                 xml.processingInstructionTarget() == "xml-stylesheet"_L1) ||
                (token == QXmlStreamReader::StartElement && !addElement(xml)))
                return false;
            if (token == QXmlStreamReader::Characters && !xml.isWhitespace())
                addText(xml.text());
            if (elements_ > (hasDashes_ ? mostElementsWithDashes : mostElements) ||
                text_ > mostText || rules_ * elements_ > mostStyleChecks || pixels_ > mostPixels)
                return false;
        }
        return !xml.hasError();
    }

private:
    bool addElement(const QXmlStreamReader &xml) {
        ++elements_;
        // Its lines are broken in the square of their length.
        if (xml.name() == "textArea"_L1)
            return false;
        const QXmlStreamAttributes attributes = xml.attributes();
        return std::all_of(attributes.begin(), attributes.end(), [&](const auto &attribute) {
            noteDashes(attribute.qualifiedName());
            noteDashes(attribute.value());
            return xml.name() != "image"_L1 || attribute.name() != "href"_L1 ||
                   addPicture(attribute.value());
        });
    }

    // Only one that is embedded as "data:…;base64,…", and no drawing, which could hold anything.
    bool addPicture(QStringView reference) {
        constexpr auto mark = "base64,"_L1;
        const qsizetype at = reference.lastIndexOf(mark);
        if (!reference.startsWith("data:"_L1) || at < 0)
            return false;
        const std::optional<QSize> size =
            rasterSize(QByteArray::fromBase64(reference.sliced(at + mark.size()).toLatin1()));
        if (!size)
            return false;
        pixels_ += qint64(size->width()) * size->height();
        return true;
    }

    void addText(QStringView text) {
        text_ += text.size();
        rules_ += text.count(u'{');
        noteDashes(text);
    }

    // As an attribute, or in a style.
    void noteDashes(QStringView text) {
        hasDashes_ = hasDashes_ || text.contains("stroke-dasharray"_L1, Qt::CaseInsensitive);
    }

    qsizetype elements_ = 0;
    qsizetype text_ = 0;
    qsizetype rules_ = 0;
    qint64 pixels_ = 0;
    bool hasDashes_ = false;
};

} // namespace

std::optional<QSize> rasterSize(QByteArray bytes) {
    constexpr std::array formats{"png", "xpm", "jpeg", "jpg", "gif", "webp", "bmp", "ico", "icns"};
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const QByteArray format = QImageReader::imageFormat(&buffer);
    if (std::find(formats.begin(), formats.end(), format) == formats.end())
        return std::nullopt;
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    return size.isEmpty() ? std::nullopt : std::optional(size);
}

bool isHarmlessDrawing(const QByteArray &svg) {
    if (!isModestXml(svg))
        return false;
    QXmlStreamReader xml(svg);
    xml.setNamespaceProcessing(false); // as Qt draws it
    return Cost().add(xml);
}

} // namespace corvid
