#include "Platform/Linux/HarmlessSvg.h"

#include "ModestXml.h"

#include <QBuffer>
#include <QImageReader>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype mostElements = 10'000;
constexpr qsizetype mostElementsWithDashes = 500; // of which there can be thousands to a line
constexpr qsizetype mostText = 256 * 1024;
constexpr qsizetype mostStyleChecks = 2'000'000; // each rule is compared with each element
constexpr qint64 mostPixels = 4 * 1024 * 1024;   // of all embedded pictures

QStringView localName(QStringView name) {
    return name.sliced(name.lastIndexOf(u':') + 1);
}

/** The size of a picture that is embedded as "data:…;base64,…". Absent when it is elsewhere, when
    it is no picture, and when it is a drawing, which could hold anything again. */
std::optional<QSize> embeddedSize(QStringView address) {
    constexpr auto mark = ";base64,"_L1;
    const qsizetype at = address.indexOf(mark);
    if (!address.startsWith("data:"_L1) || at < 0)
        return std::nullopt;
    QByteArray bytes = QByteArray::fromBase64(address.sliced(at + mark.size()).toLatin1());
    QBuffer buffer(&bytes);
    const QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (!size.isValid() || reader.format().startsWith("svg"))
        return std::nullopt;
    return size;
}

class Copy {
public:
    explicit Copy(const QByteArray &svg) : xml_(svg), writer_(&result_) {
        // As the renderer reads it: names are what is written.
        xml_.setNamespaceProcessing(false);
    }

    std::optional<QByteArray> make() {
        while (!xml_.atEnd()) {
            if (!copyNext() || rules_ * elements_ > mostStyleChecks ||
                elements_ > (hasDashes_ ? mostElementsWithDashes : mostElements))
                return std::nullopt;
        }
        if (xml_.hasError() || result_.isEmpty())
            return std::nullopt;
        return result_;
    }

private:
    bool copyNext() {
        switch (xml_.readNext()) {
        case QXmlStreamReader::StartElement:
            return copyElement();
        case QXmlStreamReader::EndElement:
            if (skipped_ > 0)
                --skipped_;
            else
                writer_.writeEndElement();
            return true;
        case QXmlStreamReader::Characters:
            return copyText();
        default: // comments, processing instructions, the document type
            return true;
        }
    }

    bool copyElement() {
        const QStringView name = localName(xml_.qualifiedName());
        const QXmlStreamAttributes attributes = xml_.attributes();
        ++elements_;
        if (skipped_ > 0 || name == "textArea"_L1 ||
            (name == "image"_L1 && !isEmbedded(attributes))) {
            ++skipped_;
            return pixels_ <= mostPixels;
        }
        writer_.writeStartElement(xml_.qualifiedName().toString());
        for (const QXmlStreamAttribute &attribute : attributes) {
            noteDashes(attribute.qualifiedName());
            noteDashes(attribute.value());
            writer_.writeAttribute(attribute.qualifiedName().toString(),
                                   attribute.value().toString());
        }
        return pixels_ <= mostPixels;
    }

    bool isEmbedded(const QXmlStreamAttributes &attributes) {
        for (const QXmlStreamAttribute &attribute : attributes) {
            if (localName(attribute.qualifiedName()) != "href"_L1)
                continue;
            const std::optional<QSize> size = embeddedSize(attribute.value());
            if (!size)
                return false;
            pixels_ += qint64(size->width()) * size->height();
        }
        return true;
    }

    // As an attribute, or in a style.
    void noteDashes(QStringView text) {
        hasDashes_ = hasDashes_ || text.contains("stroke-dasharray"_L1, Qt::CaseInsensitive);
    }

    bool copyText() {
        if (skipped_ > 0 || xml_.isWhitespace())
            return true;
        text_ += xml_.text().size();
        rules_ += xml_.text().count(u'{');
        noteDashes(xml_.text());
        writer_.writeCharacters(xml_.text().toString());
        return text_ <= mostText;
    }

    QXmlStreamReader xml_;
    QByteArray result_;
    QXmlStreamWriter writer_;
    qsizetype elements_ = 0;
    qsizetype text_ = 0;
    qsizetype rules_ = 0;
    bool hasDashes_ = false;
    qint64 pixels_ = 0;
    qsizetype skipped_ = 0; // depth below and including an element that is left out
};

} // namespace

std::optional<QByteArray> harmlessSvg(const QByteArray &svg) {
    if (!isModestXml(svg))
        return std::nullopt;
    return Copy(svg).make();
}

} // namespace corvid
