#pragma once

#include "Platform/Image.h"
#include "Platform/Linux/Icons/PictureCache.h"
#include "Platform/Linux/Icons/PictureQueue.h"

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
 * Finds icons and has them drawn: always squares of 32 device-independent pixels, with the
 * picture's shape kept and centred. Pictures are what strangers made, so a process of its own looks
 * at them; what it drew is kept on the disk, and a start with nothing new needs no such process.
 *
 * Any thread, several at once. Nothing here fails: what cannot be found, or is no picture that can
 * be drawn in reasonable time and memory, has a stand-in.
 */
class IconLoader {
public:
    struct Folders {
        QStringList themes;   ///< base folders of icon themes
        QStringList unthemed; ///< icons that belong to no theme, besides those
    };

    /** `themeName` is asked on a background thread, once per listing of the themes.
        `devicePixelRatio`: the highest of the screens in use. `pictureProgram`: what is run to
        draw pictures, see PictureProcess; without one only those of an earlier run are there. */
    IconLoader(std::function<QString()> themeName, Folders folders, qreal devicePixelRatio,
               QString pictureProgram);

    /** The icon of a desktop entry or an application bundle, of a folder or a file. An AppImage has
        the picture of its name beside it: .png, .svg, or .DirIcon, which is a PNG. Reads files. */
    Image icon(const QString &path) const;

    /** The stand-in for an application's icon. Immediate. */
    Image genericIcon() const { return generic_; }

    /** An absolute path, or a name that the icon theme knows; null when there is no such icon. */
    Image named(const QString &icon) const;

    /** From now on nothing is drawn, and nobody waits for a picture any longer. */
    void end() { queue_.end(); }

private:
    std::shared_ptr<const IconTheme> theme() const;
    Image entryIcon(const QString &path) const;
    Image bundleIcon(const QString &path) const;
    Image appImageIcon(const QString &path) const;
    Image folderIcon(const QString &path) const;
    Image fileIcon(const QString &path) const;
    Image fromFile(const QString &path) const;
    Image shared(QImage image) const;

    std::function<QString()> themeName_;
    Folders folders_;
    qreal devicePixelRatio_;
    int pixels_; ///< edge of the square
    Image generic_;
    Image folder_;

    mutable std::mutex mutex_; ///< guards what follows
    mutable std::shared_ptr<const IconTheme> theme_;
    mutable std::chrono::steady_clock::time_point checked_;

    mutable PictureCache cache_;
    mutable PictureQueue queue_; ///< after what its thread stores into
};

} // namespace corvid
