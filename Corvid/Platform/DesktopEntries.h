#pragma once

#include "Platform/Port.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace corvid {

/** One more thing that an application can be started for, such as a private window. */
struct DesktopAction {
    QString id;   ///< told apart by it within the entry
    QString name; ///< localised, never empty

    bool operator==(const DesktopAction &) const = default;
};

/** The most actions of an entry that are listed. */
inline constexpr qsizetype mostDesktopActions = 16;

/** The values of one desktop entry that the catalog needs, as the desktop resolved them; or what
    stands for them where a program comes without one. */
struct DesktopEntry {
    QString id;                  ///< desktop id without ".desktop", e.g. "org.gnome.Nautilus"
    QString path;                ///< absolute path of the entry file, or of the program
    QString name;                ///< localised Name
    QString unlocalizedName;     ///< Name as written without a locale; may be empty
    QString genericName;         ///< localised GenericName; may be empty
    QString program;             ///< the name of the program that it runs; may be empty
    QStringList categories;      ///< Categories, in order
    QString startupWMClass = {}; ///< StartupWMClass, the class of its windows; may be empty
    QStringList keywords = {};   ///< localised Keywords, in order
    /** As written without a locale; may be empty. */
    QString unlocalizedGenericName = {};
    QStringList unlocalizedKeywords = {};
    /** Those that can be started, in order, none twice. */
    QList<DesktopAction> actions = {};

    bool operator==(const DesktopEntry &) const = default;
};

/** Lists the desktop entries that the desktop would show in its application menu, the panels of its
    settings, and the programs that need no entry. */
class DesktopEntries : public Port {
public:
    /** Reads the folders afresh; tens of milliseconds for a thousand entries, so call it in the
        background. Any thread. Broken entries are left out, and no path occurs twice. */
    virtual std::vector<DesktopEntry> list() const = 0;

    /** Called on the main thread when list() may have another answer than the last time, perhaps
        several times for one change. Where nothing can be watched, never. */
    std::function<void()> onChange;
};

} // namespace corvid
