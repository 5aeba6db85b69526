#include "Platform/Linux/Icons/IconLoader.h"

#include "Base/Locations.h"
#include "Base/RegularFile.h"
#include "Catalog/PropertyList.h"
#include "Platform/Linux/GLibPointers.h"
#include "Platform/Linux/Icons/IconDrawing.h"
#include "Platform/Linux/Icons/IconTheme.h"
#include "Platform/Linux/Icons/PictureProtocol.h"
#include "Platform/Linux/KeyFiles.h"
#include "Platform/Linux/Launching/AppImages.h"

#include <gio/gio.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

#include <sys/stat.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int iconSize = 32; // device-independent pixels
constexpr std::chrono::seconds checkInterval{2};

bool isSvg(const QString &path) {
    return path.endsWith(".svg"_L1, Qt::CaseInsensitive) ||
           path.endsWith(".svgz"_L1, Qt::CaseInsensitive);
}

/** How a file is now; absent where it cannot be a picture. */
std::optional<FileState> stateOf(const QString &path) {
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size <= 0 || static_cast<std::uint64_t>(status.st_size) > largestPicture)
        return std::nullopt;
    constexpr qint64 nanoseconds = 1'000'000'000;
    qint64 changed = 0;
    // A file can claim any time; where the number is too large, what it wraps to will do.
    static_cast<void>(__builtin_mul_overflow(status.st_mtim.tv_sec, nanoseconds, &changed));
    static_cast<void>(__builtin_add_overflow(changed, status.st_mtim.tv_nsec, &changed));
    return FileState{changed, status.st_size};
}

} // namespace

IconLoader::IconLoader(std::function<QString()> themeName, Folders folders, qreal devicePixelRatio,
                       QString pictureProgram)
    : themeName_(std::move(themeName)), folders_(std::move(folders)),
      devicePixelRatio_(std::max(1.0, devicePixelRatio)),
      pixels_(static_cast<int>(std::ceil(iconSize * devicePixelRatio_))),
      cache_(locations::cache() + "/Corvid/icons"_L1, pixels_, devicePixelRatio_),
      queue_(std::move(pictureProgram), [this] { cache_.store(); }) {
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
    else if (isAppImage(path))
        found = appImageIcon(path);
    else if (QFileInfo(path).isFile())
        found = fileIcon(path);
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

Image IconLoader::appImageIcon(const QString &path) const {
    const QFileInfo file(path);
    for (const auto suffix : {".png"_L1, ".svg"_L1, ".DirIcon"_L1})
        if (Image image = fromFile(file.path() + u'/' + file.completeBaseName() + suffix))
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

// By the file's name alone: its content is nobody's business here.
Image IconLoader::fileIcon(const QString &path) const {
    const GFreePointer<gchar> type(
        g_content_type_guess(QFile::encodeName(path).constData(), nullptr, 0, nullptr));
    const GObjectPointer<GIcon> icon(g_content_type_get_icon(type.get()));
    if (!G_IS_THEMED_ICON(icon.get()))
        return nullptr;
    const gchar *const *names = g_themed_icon_get_names(G_THEMED_ICON(icon.get()));
    for (; names && *names; ++names)
        if (Image image = named(QString::fromUtf8(*names)))
            return image;
    return nullptr;
}

Image IconLoader::fromFile(const QString &path) const {
    // Before the file is read: when it is changed in between, it is read again next time.
    const std::optional<FileState> state = stateOf(path);
    if (!state)
        return nullptr;
    if (std::optional<Image> known = cache_.find(path, *state))
        return *std::move(known);
    const QByteArray bytes = readRegularFile(path, largestPicture).value_or(QByteArray());
    if (bytes.isEmpty())
        return nullptr;
    const DrawnPicture drawn = queue_.draw(bytes, isSvg(path), pixels_);
    if (drawn.outcome == DrawnPicture::Outcome::Unavailable)
        return nullptr;
    return cache_.add(path, *state, drawn.image);
}

Image IconLoader::shared(QImage image) const {
    image.setDevicePixelRatio(devicePixelRatio_);
    return std::make_shared<const QImage>(std::move(image));
}

} // namespace corvid
