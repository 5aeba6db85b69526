#pragma once

#include "Base/FileDescriptor.h"
#include "Base/FileMap.h"

#include <QImage>
#include <QString>

#include <cstddef>
#include <memory>

namespace corvid {

/** A square picture of so many pixels that lie in the mapped file, which stays as long as it. */
QImage pictureIn(const std::shared_ptr<const FileMap> &file, unsigned char *pixels, int edge);

/**
 * What was drawn in this run, in a file without a name, so that it weighs as little in memory as
 * what an earlier run has stored. The file goes with the last picture. One thread at a time; blocks
 * on the disk.
 */
class PictureSpool {
public:
    /** In a folder that need not be there yet. */
    explicit PictureSpool(QString folder, std::size_t mostBytes);

    /** The same square picture, in the file; itself where the disk or the file has no room. */
    QImage put(const QImage &drawn);

    /** Drops the memory of pictures that were looked at. */
    void forgetPages();

private:
    void open();

    const QString folder_;
    const std::size_t mostBytes_;
    bool opened_ = false;
    FileDescriptor file_;
    std::shared_ptr<const FileMap> map_; ///< null where there is none
    std::size_t end_ = 0;                ///< of the pictures
};

} // namespace corvid
