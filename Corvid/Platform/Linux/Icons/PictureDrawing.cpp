#include "Platform/Linux/Icons/PictureDrawing.h"

#include "Platform/Linux/Icons/IconDrawing.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <array>

namespace corvid {

namespace {

constexpr int largestSide = 4096;      // of a picture to be scaled down
constexpr int allocationLimitMiB = 64; // one such picture

/** How files in the formats of icons begin. What else the machine has decoders for is not used. */
struct Format {
    const char *name;
    QByteArrayView mark;
    qsizetype position = 0; ///< of the mark
};
constexpr std::array formats{
    Format{"png", "\x89PNG\r\n\x1a\n"}, Format{"xpm", "/* XPM"},
    Format{"jpeg", "\xff\xd8\xff"},     Format{"gif", "GIF8"},
    Format{"webp", "WEBP", 8},          Format{"bmp", "BM"},
    Format{"ico", {"\0\0\1\0", 4}},     Format{"icns", "icns"},
};

QImage renderDrawing(const QByteArray &bytes, int edge) {
    QSvgRenderer renderer;
    if (!renderer.load(bytes))
        return {};
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    return drawSquare(edge, [&renderer](QPainter &painter) { renderer.render(&painter); });
}

QImage readPixels(QByteArray bytes, int edge) {
    const auto *const format = std::ranges::find_if(formats, [&bytes](const Format &candidate) {
        return QByteArrayView(bytes)
            .sliced(std::min(bytes.size(), candidate.position))
            .startsWith(candidate.mark);
    });
    if (format == formats.end())
        return {};
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, format->name);
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > largestSide || size.height() > largestSide)
        return {};
    reader.setScaledSize(size.scaled(edge, edge, Qt::KeepAspectRatio).expandedTo({1, 1}));
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    return drawSquare(edge, [&](QPainter &painter) {
        painter.drawImage((edge - image.width()) / 2, (edge - image.height()) / 2, image);
    });
}

// As a drawing does that consists of what it was not let open.
bool showsNothing(const QImage &image) {
    return std::all_of(image.constBits(), image.constBits() + image.sizeInBytes(),
                       [](uchar byte) { return byte == 0; });
}

} // namespace

QImage drawPicture(QByteArray bytes, bool isDrawing, int edge) {
    QImage image = isDrawing ? renderDrawing(bytes, edge) : readPixels(std::move(bytes), edge);
    return showsNothing(image) ? QImage() : image;
}

void loadDecoders() {
    QImageReader::setAllocationLimit(allocationLimitMiB);
    for (const Format &format : formats) {
        QBuffer nothing;
        static_cast<void>(QImageReader(&nothing, format.name).canRead());
    }
}

} // namespace corvid
