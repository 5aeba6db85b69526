#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

namespace corvid {

/** What the icons in one folder of an icon theme are meant for. Sizes in pixels at scale 1. */
struct IconThemeFolder {
    int scale = 1;
    int minimum = 0;
    int maximum = 0;

    /** Whether its icons are meant for this size. Pure. */
    bool matches(int wantedSize, int wantedScale) const;
    /** How far its icons are from this size, in device pixels; 0 is best. Pure. */
    int distance(int wantedSize, int wantedScale) const;
};

/** What the index of an icon theme says. */
struct IconThemeIndex {
    std::vector<std::pair<QString, IconThemeFolder>> folders; ///< below the theme's, none twice
    QStringList parents;                                      ///< names of themes, none twice
};

/** Reads the text of an "index.theme"; absent when it is none. Folders without a usable size are
    left out, and so is what no theme has in such numbers. Pure, for any bytes. */
std::optional<IconThemeIndex> parseIconThemeIndex(const QByteArray &text);

} // namespace corvid
