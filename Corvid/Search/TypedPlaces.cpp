#include "Search/TypedPlaces.h"

#include "Base/Locations.h"

#include <QDir>
#include <QSet>
#include <QUrl>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>

#include <arpa/inet.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype longestPath = 4096; // as in the kernel
constexpr qsizetype longestAddress = 8192;
constexpr auto fileScheme = "file://"_L1;

// What people who write "name.suffix" mean by it, though some of these are domains, too.
const QSet<QString> &fileSuffixes() {
    static const QSet<QString> suffixes{
        u"bak"_s,     u"bash"_s,  u"bat"_s,     u"bin"_s,  u"bmp"_s,  u"bz"_s,    u"cc"_s,
        u"cfg"_s,     u"cmake"_s, u"conf"_s,    u"cpp"_s,  u"css"_s,  u"csv"_s,   u"cxx"_s,
        u"dart"_s,    u"deb"_s,   u"desktop"_s, u"diff"_s, u"dll"_s,  u"doc"_s,   u"docx"_s,
        u"eml"_s,     u"env"_s,   u"epub"_s,    u"exe"_s,  u"gif"_s,  u"go"_s,    u"gz"_s,
        u"hh"_s,      u"hpp"_s,   u"hs"_s,      u"htm"_s,  u"html"_s, u"ico"_s,   u"ini"_s,
        u"iso"_s,     u"jar"_s,   u"java"_s,    u"jpeg"_s, u"jpg"_s,  u"js"_s,    u"json"_s,
        u"jsx"_s,     u"kt"_s,    u"lock"_s,    u"log"_s,  u"lua"_s,  u"md"_s,    u"mk"_s,
        u"ml"_s,      u"mov"_s,   u"odp"_s,     u"ods"_s,  u"odt"_s,  u"orig"_s,  u"patch"_s,
        u"pdf"_s,     u"php"_s,   u"png"_s,     u"ppt"_s,  u"pptx"_s, u"ps"_s,    u"py"_s,
        u"qml"_s,     u"rb"_s,    u"rpm"_s,     u"rs"_s,   u"rst"_s,  u"rtf"_s,   u"scss"_s,
        u"service"_s, u"sh"_s,    u"so"_s,      u"sql"_s,  u"svg"_s,  u"swift"_s, u"tar"_s,
        u"tex"_s,     u"tgz"_s,   u"tmp"_s,     u"toml"_s, u"ts"_s,   u"tsx"_s,   u"ttf"_s,
        u"txt"_s,     u"ui"_s,    u"vim"_s,     u"vue"_s,  u"wav"_s,  u"webp"_s,  u"xls"_s,
        u"xlsx"_s,    u"xml"_s,   u"xz"_s,      u"yaml"_s, u"yml"_s,  u"zip"_s,   u"zsh"_s};
    return suffixes;
}

bool isPrivateIPv4(const std::uint8_t *byte) {
    const bool linkLocal = byte[0] == 169 && byte[1] == 254;
    return byte[0] == 127 || byte[0] == 10 || (byte[0] == 192 && byte[1] == 168) ||
           (byte[0] == 172 && byte[1] >= 16 && byte[1] < 32) || linkLocal;
}

bool isPrivateIPv6(const std::array<std::uint8_t, 16> &byte) {
    const bool upperIsZero = std::all_of(byte.begin(), byte.begin() + 10, std::logical_not<>());
    if (upperIsZero && byte[10] == 0xff && byte[11] == 0xff)
        return isPrivateIPv4(&byte[12]);
    const bool isLoopback =
        upperIsZero && byte[15] == 1 && std::all_of(&byte[10], &byte[15], std::logical_not<>());
    const bool uniqueLocal = (byte[0] & 0xfe) == 0xfc;
    const bool linkLocal = byte[0] == 0xfe && (byte[1] & 0xc0) == 0x80;
    return isLoopback || uniqueLocal || linkLocal;
}

/** Of an IP address whether it is private; absent for anything else. */
std::optional<bool> isPrivateIP(const QString &host) {
    if (host.startsWith(u'[')) {
        const QByteArray inner = host.sliced(1).chopped(1).toLatin1();
        std::array<std::uint8_t, 16> bytes{};
        if (!host.endsWith(u']') || inet_pton(AF_INET6, inner.constData(), bytes.data()) != 1)
            return std::nullopt;
        return isPrivateIPv6(bytes);
    }
    std::array<std::uint8_t, 4> bytes{};
    if (inet_pton(AF_INET, host.toUtf8().constData(), bytes.data()) != 1)
        return std::nullopt;
    return isPrivateIPv4(bytes.data());
}

bool isLabel(const QString &label) {
    constexpr qsizetype longest = 63;
    return !label.isEmpty() && label.size() <= longest && !label.startsWith(u'-') &&
           !label.endsWith(u'-') && std::ranges::all_of(label, [](QChar c) {
               return c.isLetterOrNumber() || c.isMark() || c == u'-';
           });
}

bool isTopLevel(const QString &label) {
    const QString lower = label.toLower();
    return label.size() >= 2 && (label == lower || label == label.toUpper()) &&
           (lower.startsWith("xn--"_L1) ||
            std::ranges::all_of(label, [](QChar c) { return c.isLetter() || c.isMark(); }));
}

bool isDomain(const QString &host, bool isSurelyNoFile) {
    constexpr qsizetype longest = 253;
    const QStringList labels = host.split(u'.');
    if (host.size() > longest || labels.size() < 2 || !std::ranges::all_of(labels, isLabel) ||
        !isTopLevel(labels.last()))
        return false;
    return isSurelyNoFile || labels.first().compare("www"_L1, Qt::CaseInsensitive) == 0 ||
           labels.size() > 2 || !fileSuffixes().contains(labels.last().toLower());
}

bool isPort(QStringView text) {
    constexpr qsizetype mostDigits = 5;
    bool isNumber = false;
    const uint number = text.toUInt(&isNumber);
    return isNumber && text.size() <= mostDigits && text.front().isDigit() && number >= 1 &&
           number <= 65'535;
}

/** By which to ask the host of an address that does not say so; absent where it is no host. */
std::optional<QString> schemeFor(const QString &host, bool isSurelyNoFile) {
    const QString lower = host.toLower();
    if (lower == "localhost"_L1 || lower.endsWith(".localhost"_L1))
        return u"http"_s;
    if (const std::optional<bool> isPrivate = isPrivateIP(host))
        return *isPrivate ? u"http"_s : u"https"_s;
    return isDomain(host, isSurelyNoFile) ? std::optional(u"https"_s) : std::nullopt;
}

/** As it stands where it is sound; else with what may not stand there percent-encoded. */
std::optional<QString> sound(const QString &address) {
    const auto isSound = [](const QString &text) {
        const QUrl url(text, QUrl::StrictMode);
        return url.isValid() && !url.host().isEmpty();
    };
    if (isSound(address))
        return address;
    const QString encoded = QUrl(address, QUrl::TolerantMode).toString(QUrl::FullyEncoded);
    return isSound(encoded) ? std::optional(encoded) : std::nullopt;
}

} // namespace

std::optional<QString> typedPath(const QString &text) {
    QString path = text;
    if (text.startsWith(fileScheme, Qt::CaseInsensitive)) {
        const QUrl url(text);
        if (!url.host().isEmpty() && url.host() != "localhost"_L1)
            return std::nullopt;
        path = url.path(QUrl::FullyDecoded);
    } else if (text == u"~"_s || text.startsWith("~/"_L1)) {
        path = locations::home() + text.sliced(1);
    }
    if (!path.startsWith(u'/') || path.contains(QChar::Null) || path.size() > longestPath)
        return std::nullopt;
    path = QDir::cleanPath(path);
    while (path.startsWith("/../"_L1)) // above the root is the root
        path.remove(0, 3);
    return path == "/.."_L1 ? u"/"_s : path;
}

std::optional<QString> typedAddress(const QString &text) {
    const auto isForeign = [](QChar c) { return c.isSpace() || !c.isPrint(); };
    if (text.size() > longestAddress || std::ranges::any_of(text, isForeign))
        return std::nullopt;
    if (text.startsWith("http://"_L1, Qt::CaseInsensitive) ||
        text.startsWith("https://"_L1, Qt::CaseInsensitive))
        return sound(text);
    const qsizetype slash = text.indexOf(u'/');
    const QString authority = text.first(slash < 0 ? text.size() : slash);
    const qsizetype colon =
        authority.indexOf(u':', std::max<qsizetype>(authority.indexOf(u']'), 0));
    if (colon >= 0 && (colon + 1 == authority.size() || !isPort(authority.sliced(colon + 1))))
        return std::nullopt;
    const QString host = authority.first(colon < 0 ? authority.size() : colon);
    const std::optional<QString> scheme = schemeFor(host, slash >= 0 || colon >= 0);
    return scheme ? sound(*scheme + u"://"_s + text) : std::nullopt;
}

} // namespace corvid
