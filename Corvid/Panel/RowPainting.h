#pragma once

#include "Base/Records.h"

#include <QCache>
#include <QFont>
#include <QStaticText>

#include <array>

class QPainter;
class QStyleOptionViewItem;

namespace corvid {

/** The lines of text of rows, kept as they were laid out: the next letter shows most of them again,
    and laying them out is most of a row's cost. Main thread only. */
class RowLines {
public:
    enum class Kind { Title, Detail, Badge };
    struct Line {
        QStaticText text;
        int width; ///< in device-independent pixels
    };

    /** Those of the lines, by their kinds, in rows with this font. */
    static std::array<QFont, 3> fontsFor(const QFont &font);

    /** All lines from now on are of rows with this font, in that direction. */
    void setLook(const QFont &font, Qt::LayoutDirection direction);
    const QFont &font(Kind kind) const { return fonts_[static_cast<std::size_t>(kind)]; }
    /** The text in one line of at most that width, its end cut off where it is wider. Valid until
        the next call. */
    const Line &line(Kind kind, const QString &text, int width);
    /** Draws it into that place, leading and centred from top to bottom. */
    void draw(QPainter &painter, Kind kind, const QRect &place, const Line &line) const;

private:
    struct Key {
        QString text;
        Kind kind;
        int width;
        bool operator==(const Key &) const = default;
        friend size_t qHash(const Key &key, size_t seed = 0) {
            return qHashMulti(seed, key.text, static_cast<int>(key.kind), key.width);
        }
    };

    QFont font_;
    std::array<QFont, 3> fonts_;
    Qt::LayoutDirection direction_ = Qt::LayoutDirectionAuto;
    QCache<Key, Line> lines_{128}; // those of some lists of nine rows
};

/** Paints rows of the list. Main thread only. */
class RowPainter {
public:
    /** Paints a row where the option says: icon, running dot, title over subtitle, branch, badge.
        `saysCopied`: a tick in the badge's place. Leaves the painter as it comes to be. */
    void paint(QPainter &painter, const QStyleOptionViewItem &option, const ResultItem &item,
               bool saysCopied);

private:
    RowLines lines_;
};

} // namespace corvid
