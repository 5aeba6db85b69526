#include "Platform/Linux/Launching/FolderArguments.h"

#include "Platform/Linux/Launching/ExecLine.h"

#include <QDir>

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

/** An application that makes an error or an empty file of a folder's path. */
struct FolderWay {
    QLatin1StringView id;
    /** The arguments instead, by spaces, the folder in place of "%"; none where it can but work
        there. */
    QLatin1StringView arguments = {};
    /** The name of the project file that it opens, if the folder holds one. */
    QLatin1StringView projectFile = {};
};

constexpr auto folderWays = std::to_array<FolderWay>({
    {"codeblocks"_L1, {}, "*.cbp"_L1},
    {"featherpad"_L1},
    {"geany"_L1, {}, "*.geany"_L1},
    {"gedit"_L1},
    {"idle"_L1},
    {"joe"_L1},
    {"kakoune"_L1},
    {"micro"_L1},
    {"mousepad"_L1},
    {"org.codeblocks.codeblocks"_L1, {}, "*.cbp"_L1},
    {"org.geany.Geany"_L1, {}, "*.geany"_L1},
    {"org.geany.geany"_L1, {}, "*.geany"_L1},
    {"org.gnome.Builder"_L1, "--project=%"_L1},
    {"org.gnome.TextEditor"_L1},
    {"org.gnome.gedit"_L1},
    {"org.kde.kwrite"_L1},
    {"org.rstudio.RStudio"_L1, {}, "*.Rproj"_L1},
    {"org.spyder_ide.spyder"_L1, "--workdir=%"_L1},
    {"org.thonny.Thonny"_L1},
    {"org.xfce.mousepad"_L1},
    {"pluma"_L1},
    {"rstudio"_L1, {}, "*.Rproj"_L1},
    {"spyder"_L1, "--workdir=%"_L1},
    {"thonny"_L1},
    {"xed"_L1},
});

} // namespace

std::optional<QStringList> folderArguments(const QString &id, const QString &exec, bool inTerminal,
                                           const QString &folder) {
    const auto *way = std::find_if(folderWays.begin(), folderWays.end(),
                                   [&](const FolderWay &known) { return id == known.id; });
    if (way == folderWays.end())
        return inTerminal && !takesFiles(exec) ? std::optional(QStringList()) : std::nullopt;
    if (!way->projectFile.isEmpty()) {
        const QDir place(folder);
        const QStringList files = place.entryList({way->projectFile}, QDir::Files, QDir::Name);
        return files.isEmpty() ? QStringList() : QStringList{place.filePath(files.first())};
    }
    QStringList arguments = QString(way->arguments).split(u' ', Qt::SkipEmptyParts);
    for (QString &argument : arguments)
        argument.replace(u'%', folder);
    return arguments;
}

} // namespace corvid
