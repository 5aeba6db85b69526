#include "Catalog/CheckedOutBranch.h"

#include "Base/RegularFile.h"
#include "Base/Text.h"
#include "Platform/Volumes.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 longestHead = 1024;
constexpr qint64 longestGitFile = 4096 + 16; // a path and what stands before it

// Absent also where touching the file could take for ever.
std::optional<QByteArray> readLocalFile(const QString &path, qint64 most, const Volumes &volumes) {
    const VolumeProperties volume = volumes.properties(path);
    if (volume.local == false || volume.automounted == true)
        return std::nullopt;
    return readRegularFile(path, most);
}

bool isCommit(const QByteArray &text) {
    const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    return (text.size() == 40 || text.size() == 64) && std::ranges::all_of(text, isDigit);
}

} // namespace

QString branchOfHead(const QByteArray &head) {
    constexpr QByteArrayView branches = "ref: refs/heads/";
    const QByteArray line = head.split('\n').first().trimmed();
    if (isCommit(line))
        return QString::fromLatin1(line.first(7));
    if (!line.startsWith(branches))
        return {};
    const QByteArray name = line.sliced(branches.size());
    // Stands in HEAD for programs that cannot read where the branch is really kept.
    return name == ".invalid" ? QString() : nameFrom(QString::fromUtf8(name));
}

QString gitFolderOf(const QByteArray &file) {
    constexpr QByteArrayView prefix = "gitdir: ";
    const QByteArray line = file.split('\n').first();
    if (!line.startsWith(prefix) || line.contains('\0'))
        return {};
    return QFile::decodeName(line.sliced(prefix.size()));
}

QString checkedOutBranch(const QString &folder, const Volumes &volumes) {
    const QString git = folder + "/.git"_L1;
    std::optional<QByteArray> head = readLocalFile(git + "/HEAD"_L1, longestHead, volumes);
    if (!head) {
        const auto file = readLocalFile(git, longestGitFile, volumes);
        const QString elsewhere = file ? gitFolderOf(*file) : QString();
        if (!elsewhere.isEmpty()) {
            head = readLocalFile(QDir(folder).absoluteFilePath(elsewhere) + "/HEAD"_L1, longestHead,
                                 volumes);
        }
    }
    return head ? branchOfHead(*head) : QString();
}

} // namespace corvid
