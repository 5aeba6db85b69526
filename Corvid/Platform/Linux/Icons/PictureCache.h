#pragma once

#include "Base/FileMap.h"
#include "Platform/Image.h"
#include "Platform/Linux/Icons/PictureSpool.h"

#include <QByteArray>
#include <QDate>
#include <QImage>
#include <QString>

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

namespace corvid {

/** The state of a file by which a change is noticed. */
struct FileState {
    qint64 changed = 0; ///< nanoseconds since 1970
    qint64 size = 0;
    bool operator==(const FileState &) const = default;
};

/**
 * Pictures as they were drawn, kept on the disk for the next start: square, of one size in pixels
 * for each cache, but several caches share a file. The pictures that are handed out lie in that
 * file, or in another of this run's, and equal ones in one place, so that they weigh next to
 * nothing.
 *
 * A file that is missing or damaged counts as empty; what was not asked for in a month is left out
 * when it is written, and so is the oldest beyond a size. Any thread; blocks on the disk.
 */
class PictureCache {
public:
    PictureCache(QString path, int edge, qreal devicePixelRatio);

    /** What was drawn of a file in this state: null where it is no picture; absent where that is
        not known. */
    std::optional<Image> find(const QString &file, const FileState &state);

    /** Remembers what was drawn, null where the file is no picture; returns it to be used. */
    Image add(const QString &file, const FileState &state, const QImage &drawn);

    /** Writes the file where there is something new. */
    void store(QDate today = QDate::currentDate());

private:
    using Key = std::array<unsigned char, 16>;
    /** How a picture is listed in the file. */
    struct Record {
        Key key;
        FileState state;
        quint64 place; ///< of the pixels in the file; 0 where it is no picture
        quint32 edge;
        quint32 day; ///< when it was last known to be asked for
    };
    struct Header;
    struct Added {
        FileState state;
        Image image;
    };
    struct ToStore {
        Record record;
        const unsigned char *pixels; ///< null where it is no picture
    };

    static std::size_t startOfPixels(std::size_t records);
    Key keyOf(const QString &file) const;
    void open();
    bool readList(int descriptor, std::size_t size);
    Record record(std::size_t index) const;
    std::size_t indexOf(const Key &key) const;
    bool isWithin(const Record &record) const;
    unsigned char *pixelsAt(quint64 place) const;
    Image imageAt(quint64 place);
    std::vector<ToStore> whatToStore(quint32 today) const;

    const QString path_;
    const int edge_;
    const qreal devicePixelRatio_;

    std::mutex mutex_; ///< guards what follows
    bool opened_ = false;
    // The file in two parts: the system maps what surrounds a page that is looked at, too.
    std::shared_ptr<const FileMap> list_;   ///< header and records, sound; null for none
    std::shared_ptr<const FileMap> pixels_; ///< null for none
    std::vector<bool> used_;                ///< which records were asked for
    std::map<Key, Added> added_;            ///< not stored yet
    std::unordered_map<quint64, std::weak_ptr<const QImage>> images_; ///< by place in the file
    std::map<Key, std::weak_ptr<const QImage>> drawn_;                ///< by their pixels
    PictureSpool spool_;                                              ///< of those drawn
};

} // namespace corvid
