#include "Catalog/ModestXml.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype portion = 4096;
constexpr qsizetype longestProlog = 64 * 1024; // with the document type's declarations
constexpr qsizetype mostAttributes = 256;      // of one element
constexpr qsizetype mostNamespaces = 256;
constexpr qsizetype deepestNesting = 512;
// The reader compares an element's attributes with each other before it reports the element. Each
// has an equals sign, so it is given no more at once than it compares in no time.
constexpr qsizetype mostEqualsSignsAtOnce = 4096;

} // namespace

bool isModestXml(const QByteArray &bytes) {
    QXmlStreamReader xml;
    // Readers that heed namespaces stop at an unknown prefix, others read on.
    xml.setNamespaceProcessing(false);
    qsizetype depth = 0;
    qsizetype namespaces = 0;
    qsizetype equalsSigns = 0; // in what the reader has not reported yet
    bool inProlog = true;
    for (qsizetype start = 0; start < bytes.size(); start += portion) {
        const QByteArray piece = bytes.mid(start, portion);
        const qsizetype equalsSignsOfPiece = piece.count('=');
        equalsSigns += equalsSignsOfPiece;
        if (equalsSigns > mostEqualsSignsAtOnce || (inProlog && start >= longestProlog))
            return false;
        xml.addData(piece);
        while (!xml.atEnd()) {
            const QXmlStreamReader::TokenType token = xml.readNext();
            if (token == QXmlStreamReader::Invalid)
                break;
            equalsSigns = std::min(equalsSigns, equalsSignsOfPiece);
            if (token == QXmlStreamReader::StartElement) {
                inProlog = false;
                const QXmlStreamAttributes attributes = xml.attributes();
                namespaces += std::ranges::count_if(attributes, [](const auto &attribute) {
                    return attribute.qualifiedName().startsWith("xmlns"_L1);
                });
                if (++depth > deepestNesting || namespaces > mostNamespaces ||
                    attributes.size() > mostAttributes)
                    return false;
            } else if (token == QXmlStreamReader::EndElement) {
                --depth;
            }
        }
        // No reader goes on behind a mistake.
        if (xml.error() != QXmlStreamReader::PrematureEndOfDocumentError)
            return true;
    }
    return true;
}

} // namespace corvid
