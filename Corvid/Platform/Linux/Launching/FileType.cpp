#include "Platform/Linux/Launching/FileType.h"

#include "Base/RegularFile.h"
#include "Platform/Linux/GLibPointers.h"

#include <gio/gio.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char *plainText = "text/plain";

// Types with a handler that runs the file, on one desktop or another.
constexpr std::array programTypes{
    "application/x-executable",
    "application/x-sharedlib",
    "application/x-pie-executable",
    "application/x-desktop",
    "application/x-shellscript",
    "application/x-csh",
    "application/x-ms-dos-executable",
    "application/x-msdownload",
    "application/x-dosexec",
    "application/vnd.microsoft.portable-executable",
    "application/x-msi",
    "application/x-ms-shortcut",
    "application/x-bat",
    "application/java-archive",
    "application/x-java-archive",
    "application/x-java-jnlp-file",
    "application/vnd.appimage",
    "application/x-iso9660-appimage",
};

// The same where the system has no database of types.
const QStringList programSuffixes{u"desktop"_s, u"sh"_s,  u"jar"_s, u"appimage"_s,
                                  u"exe"_s,     u"bat"_s, u"msi"_s, u"lnk"_s};

QByteArray beginningOf(const QString &path) {
    constexpr qsizetype enough = 4096;
    // By its first bytes: it may be as large as it likes.
    QFile file(path);
    const bool isFile = QFileInfo(path).isFile();
    return isFile && file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ? file.read(enough)
                                                                            : QByteArray();
}

bool isProgram(const QString &path, const char *type, const QByteArray &bytes) {
    return std::ranges::any_of(programTypes,
                               [type](const char *program) {
                                   return g_content_type_is_a(type, program) != FALSE;
                               }) ||
           programSuffixes.contains(QFileInfo(path).suffix().toLower()) || bytes.startsWith("#!") ||
           bytes.startsWith("\177ELF") || bytes.startsWith("MZ");
}

} // namespace

FileType fileType(const QString &path) {
    const QByteArray bytes = beginningOf(path);
    const GFreePointer<gchar> guess(g_content_type_guess(
        QFile::encodeName(path).constData(), reinterpret_cast<const guchar *>(bytes.constData()),
        static_cast<gsize>(bytes.size()), nullptr));
    const char *type = guess.get();
    const bool isText = g_content_type_is_a(type, plainText) != FALSE;
    const bool isUnknown = g_content_type_is_unknown(type) != FALSE;
    // On some file systems everything may be executed: pictures and documents are no programs.
    const bool maybeScript = (isText && !g_str_has_prefix(type, "image/")) || isUnknown;
    FileType result;
    result.runs = isProgram(path, type, bytes) || (maybeScript && QFileInfo(path).isExecutable());
    if (!result.runs)
        result.types.append(QString::fromUtf8(type));
    if (isText)
        result.types.append(QString::fromLatin1(plainText));
    result.types.removeDuplicates();
    return result;
}

} // namespace corvid
