#include "Platform/Linux/Launching/DefaultHandlers.h"

#include "Base/Locations.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/KeyFiles.h"
#include "Platform/Linux/Launching/GioDesktopEntries.h"

#include <QFileInfo>
#include <QSet>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList idsOf(GKeyFile *list, const char *group, const QString &type) {
    return keyFileText(list, group, type.toUtf8().constData()).split(u';', Qt::SkipEmptyParts);
}

/** Of one folder, the lists for this desktop first. */
std::vector<GKeyFilePointer> listsIn(const QString &folder) {
    QStringList names;
    for (const QString &desktop : desktopsettings::names())
        if (!desktop.contains(u'/'))
            names.append(desktop.toLower() + "-mimeapps.list"_L1);
    std::vector<GKeyFilePointer> lists;
    for (const QString &name : names << u"mimeapps.list"_s << u"defaults.list"_s)
        if (GKeyFilePointer list = readKeyFile(folder + u'/' + name))
            lists.push_back(std::move(list));
    return lists;
}

/** Empty when there is none. In an id, a dash may stand for a subfolder. */
QString entryFileOf(const QString &id, const QStringList &entryFolders) {
    if (id.contains(u'/') || !id.endsWith(".desktop"_L1))
        return {};
    for (const QString &folder : entryFolders) {
        QString name = id;
        for (qsizetype dash = -1;;) {
            QString path = folder + u'/' + name;
            if (QFileInfo(path).isFile())
                return path;
            dash = name.indexOf(u'-', dash + 1);
            if (dash < 0)
                break;
            name[dash] = u'/';
        }
    }
    return {};
}

} // namespace

QStringList defaultHandlers(const QString &type) {
    if (type.isEmpty())
        return {};
    const QStringList entryFolders = GioDesktopEntries::folders();
    QStringList preferred;
    QStringList claiming;
    QSet<QString> removed;
    for (const QString &folder : QStringList(locations::configuration()) +
                                     locations::systemConfiguration() + entryFolders) {
        for (const GKeyFilePointer &list : listsIn(folder)) {
            preferred += idsOf(list.get(), "Default Applications", type);
            for (const QString &id : idsOf(list.get(), "Added Associations", type))
                if (!removed.contains(id))
                    claiming.append(id);
            // Counts from here on: what an earlier list has added stays.
            for (const QString &id : idsOf(list.get(), "Removed Associations", type))
                removed.insert(id);
        }
        if (const GKeyFilePointer cache = readKeyFile(folder + "/mimeinfo.cache"_L1))
            for (const QString &id : idsOf(cache.get(), "MIME Cache", type))
                if (!removed.contains(id))
                    claiming.append(id);
    }
    QStringList files;
    for (const QString &id : preferred + claiming)
        if (const QString file = entryFileOf(id, entryFolders);
            !file.isEmpty() && !files.contains(file))
            files.append(file);
    return files;
}

} // namespace corvid
