#include "Platform/Linux/Icons/IconLoader.h"

#include "Base/Locations.h"
#include "Base/RegularFile.h"
#include "Catalog/PropertyList.h"
#include "Platform/Linux/GLibPointers.h"
#include "Platform/Linux/Icons/IconDrawing.h"
#include "Platform/Linux/Icons/IconTheme.h"
#include "Platform/Linux/Icons/PictureCheck.h"
#include "Platform/Linux/KeyFiles.h"

#include <QBuffer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <cmath>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int iconSize = 32; // device-independent pixels
constexpr qint64 maximumFileSize = 8 * 1024 * 1024;
constexpr int maximumEdge = 4096;      // of a picture to be scaled down
constexpr int allocationLimitMiB = 64; // one such picture
constexpr std::chrono::seconds checkInterval{2};

/** The content of a file, decompressed if need be; empty when it is larger than reasonable. */
QByteArray contentOf(const QString &path) {
    QByteArray bytes = readRegularFile(path, maximumFileSize).value_or(QByteArray());
    if (!bytes.startsWith("\x1f\x8b"))
        return bytes;

    const GObjectPointer<GInputStream> packed(
        g_memory_input_stream_new_from_data(bytes.constData(), bytes.size(), nullptr));
    const GObjectPointer<GZlibDecompressor> unpacker(
        g_zlib_decompressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP));
    const GObjectPointer<GInputStream> stream(
        g_converter_input_stream_new(packed.get(), G_CONVERTER(unpacker.get())));
    QByteArray unpacked(maximumFileSize + 1, Qt::Uninitialized);
    gsize size = 0;
    if (!g_input_stream_read_all(stream.get(), unpacked.data(), static_cast<gsize>(unpacked.size()),
                                 &size, nullptr, nullptr) ||
        size > maximumFileSize)
        return {};
    unpacked.truncate(static_cast<qsizetype>(size));
    return unpacked;
}

bool isSvg(const QString &path) {
    return path.endsWith(".svg"_L1, Qt::CaseInsensitive) ||
           path.endsWith(".svgz"_L1, Qt::CaseInsensitive);
}

QImage renderSvg(const QByteArray &bytes, int pixels) {
    // Text in a picture needs fonts, and Qt ends a process that asks for them without a screen.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return {};
    QSvgRenderer renderer;
    if (!isHarmlessDrawing(bytes) || !renderer.load(bytes))
        return {};
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    return drawSquare(pixels, [&renderer](QPainter &painter) { renderer.render(&painter); });
}

QImage readRaster(QByteArray bytes, int pixels) {
    const std::optional<QSize> size = rasterSize(bytes);
    if (!size || size->width() > maximumEdge || size->height() > maximumEdge)
        return {};
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    reader.setScaledSize(size->scaled(pixels, pixels, Qt::KeepAspectRatio).expandedTo({1, 1}));
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    return drawSquare(pixels, [&](QPainter &painter) {
        painter.drawImage((pixels - image.width()) / 2, (pixels - image.height()) / 2, image);
    });
}

} // namespace

IconLoader::IconLoader(std::function<QString()> themeName, Folders folders, qreal devicePixelRatio)
    : themeName_(std::move(themeName)), folders_(std::move(folders)),
      devicePixelRatio_(std::max(1.0, devicePixelRatio)),
      pixels_(static_cast<int>(std::ceil(iconSize * devicePixelRatio_))) {
    QImageReader::setAllocationLimit(allocationLimitMiB);
    generic_ = shared(drawApplicationIcon(pixels_));
    folder_ = shared(drawFolderIcon(pixels_));
}

Image IconLoader::icon(const QString &path) const {
    Image found;
    if (path.endsWith(".desktop"_L1))
        found = entryIcon(path);
    else if (path.endsWith(".app"_L1))
        found = bundleIcon(path);
    else if (QFileInfo(path).isDir())
        found = folderIcon(path);
    return found ? found : generic_;
}

Image IconLoader::named(const QString &icon) const {
    if (icon.startsWith(u'/'))
        return fromFile(icon);
    const std::shared_ptr<const IconTheme> theme = this->theme();
    const int scale = static_cast<int>(std::ceil(devicePixelRatio_));
    std::optional<QString> file = theme->find(icon, iconSize, scale);
    // Entries often name a file where they should name an icon.
    const QString extension = u'.' + QFileInfo(icon).suffix();
    if (!file && (isSvg(icon) || extension == ".png"_L1 || extension == ".xpm"_L1))
        file = theme->find(icon.chopped(extension.size()), iconSize, scale);
    return file ? fromFile(*file) : nullptr;
}

std::shared_ptr<const IconTheme> IconLoader::theme() const {
    const std::scoped_lock lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (theme_ && now - checked_ < checkInterval)
        return theme_;
    checked_ = now;
    if (!theme_ || !theme_->isCurrent())
        theme_ =
            std::make_shared<const IconTheme>(themeName_(), folders_.themes, folders_.unthemed);
    return theme_;
}

Image IconLoader::entryIcon(const QString &path) const {
    const GKeyFilePointer file = readKeyFile(path);
    if (!file)
        return nullptr;
    const GFreePointer<gchar> name(g_key_file_get_locale_string(
        file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_ICON, nullptr, nullptr));
    return name && *name ? named(QString::fromUtf8(name.get())) : nullptr;
}

Image IconLoader::bundleIcon(const QString &path) const {
    const QString name = bundleProperties(path).value(u"CFBundleIconFile"_s);
    if (name.isEmpty() || name.contains(u'/'))
        return nullptr;
    const QString resources = path + "/Contents/Resources/"_L1;
    // Bundles usually carry .icns, which is rarely readable here; those made for Linux carry PNG.
    for (const QString &candidate : {name, name + ".icns"_L1, name + ".png"_L1,
                                     QFileInfo(name).completeBaseName() + ".png"_L1})
        if (Image image = fromFile(resources + candidate))
            return image;
    return nullptr;
}

Image IconLoader::folderIcon(const QString &path) const {
    if (path == locations::home())
        if (Image home = named(u"user-home"_s))
            return home;
    Image folder = named(u"folder"_s);
    return folder ? folder : folder_;
}

Image IconLoader::fromFile(const QString &path) const {
    const QByteArray bytes = contentOf(path);
    if (bytes.isEmpty())
        return nullptr;
    return shared(isSvg(path) ? renderSvg(bytes, pixels_) : readRaster(bytes, pixels_));
}

Image IconLoader::shared(QImage image) const {
    if (image.isNull())
        return nullptr;
    image.setDevicePixelRatio(devicePixelRatio_);
    return std::make_shared<const QImage>(std::move(image));
}

} // namespace corvid
