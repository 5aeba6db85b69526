#pragma once

#include "Platform/Image.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace corvid {

class IconTheme;

/**
 * Finds, decodes and scales icons: always squares of 32 device-independent pixels, with the
 * picture's shape kept and centred. Any thread, several at once. Nothing here fails: what cannot
 * be found or is no sound picture of reasonable size has a stand-in.
 */
class IconLoader {
public:
    struct Folders {
        QStringList themes;   ///< base folders of icon themes
        QStringList unthemed; ///< icons that belong to no theme, besides those
    };

    /** `themeName` is asked on a background thread, once per listing of the themes.
        `devicePixelRatio`: the highest of the screens in use. */
    IconLoader(std::function<QString()> themeName, Folders folders, qreal devicePixelRatio);

    /** The icon of a desktop entry or an application bundle, of a folder or a file. Reads files. */
    Image icon(const QString &path) const;

    /** The stand-in for an application's icon. Immediate. */
    Image genericIcon() const { return generic_; }

    /** An absolute path, or a name that the icon theme knows; null when there is no such icon. */
    Image named(const QString &icon) const;

private:
    std::shared_ptr<const IconTheme> theme() const;
    Image entryIcon(const QString &path) const;
    Image bundleIcon(const QString &path) const;
    Image folderIcon(const QString &path) const;
    Image fromFile(const QString &path) const;
    Image shared(QImage image) const; ///< null for a null image

    std::function<QString()> themeName_;
    Folders folders_;
    qreal devicePixelRatio_;
    int pixels_; ///< edge of the square
    Image generic_;
    Image folder_;

    mutable std::mutex mutex_; ///< guards what follows
    mutable std::shared_ptr<const IconTheme> theme_;
    mutable std::chrono::steady_clock::time_point checked_;
};

} // namespace corvid
