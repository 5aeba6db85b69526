#include "Search/TypedPlaces.h"

#include "Base/Locations.h"
#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const std::optional<QString> none;

struct Case {
    QString typed;
    std::optional<QString> named;
};

} // namespace

// Paths

TEST(TypedPath, isAbsoluteOrBelowTheOwnHome) {
    const QString home = locations::home();
    for (const auto &[typed, path] : {Case{u"/etc/fstab"_s, u"/etc/fstab"_s},
                                      {u"/"_s, u"/"_s},
                                      {u"~"_s, home},
                                      {u"~/"_s, home},
                                      {u"~/Code"_s, home + u"/Code"_s},
                                      {u"/a b/ç"_s, u"/a b/ç"_s}})
        EXPECT_EQ(typedPath(typed), path) << qPrintable(typed);
}

TEST(TypedPath, loseItsDotsAndItsTrailingSlashes) {
    for (const auto &[typed, path] :
         {Case{u"/etc/"_s, u"/etc"_s},
          {u"/etc//x///"_s, u"/etc/x"_s},
          {u"/etc/../usr/./lib/.."_s, u"/usr"_s},
          {u"/../.."_s, u"/"_s},
          {u"//"_s, u"/"_s},
          {u"~/../x"_s, locations::home().section(u'/', 0, -2) + u"/x"_s}})
        EXPECT_EQ(typedPath(typed), path) << qPrintable(typed);
}

TEST(TypedPath, mayBeAURLOfAFileOfThisMachine) {
    EXPECT_EQ(typedPath(u"file:///etc/my%20file"_s), u"/etc/my file"_s);
    EXPECT_EQ(typedPath(u"FILE://localhost/etc/"_s), u"/etc"_s);
    EXPECT_EQ(typedPath(u"file:///a b"_s), u"/a b"_s);
    EXPECT_EQ(typedPath(u"file://server/share"_s), none);
    EXPECT_EQ(typedPath(u"file://"_s), none);
    EXPECT_EQ(typedPath(u"file:///a%00b"_s), none);
}

TEST(TypedPath, isNoneForAnythingElse) {
    for (const QString &text :
         {u""_s, u"etc"_s, u"./x"_s, u"../x"_s, u"~root"_s, u"~root/x"_s, u"~x"_s, u"$HOME"_s,
          u"https://x.org/"_s, u"1/2"_s, u'/' + QString(5000, u'x')})
        EXPECT_EQ(typedPath(text), none) << qPrintable(text.left(20));
}

// Addresses

TEST(TypedAddress, thatSaysHttpOrHttpsIsTakenAsItStands) {
    for (const QString &address :
         {u"https://github.com/x"_s, u"http://10.0.0.1"_s, u"HTTPS://Example.COM/A?b=c&d#e"_s,
          u"https://notes.md"_s, u"http://intranet"_s, u"http://[::1]:8080/"_s,
          u"https://me@example.com/"_s})
        EXPECT_EQ(typedAddress(address), address) << qPrintable(address);
}

TEST(TypedAddress, isEncodedWhereItWouldBeNone) {
    EXPECT_EQ(typedAddress(u"https://example.com/a|b"_s), u"https://example.com/a%7Cb"_s);
    EXPECT_EQ(typedAddress(u"example.com/a|b"_s), u"https://example.com/a%7Cb"_s);
}

TEST(TypedAddress, ofAHostGetsHttps) {
    for (const QString &typed :
         {u"github.com"_s, u"github.com/x"_s, u"GITHUB.COM"_s, u"www.example.org"_s,
          u"a-b.example.co.uk/x?y=z"_s, u"example.com:8443"_s, u"example.com:8443/x"_s,
          u"bücher.example"_s, u"xn--bcher-kva.xn--p1ai"_s, u"8.8.8.8"_s, u"8.8.8.8:53/x"_s,
          u"[2001:db8::1]"_s, u"[2001:db8::1]:8080/x"_s, u"172.32.0.1"_s})
        EXPECT_EQ(typedAddress(typed), u"https://"_s + typed) << qPrintable(typed);
}

TEST(TypedAddress, ofThisMachineAndOfPrivateNetworksGetsHttp) {
    for (const QString &typed :
         {u"localhost"_s, u"localhost:3000"_s, u"localhost/x"_s, u"LOCALHOST:3000/x"_s,
          u"app.localhost:3000"_s, u"127.0.0.1:8080"_s, u"10.1.2.3"_s, u"192.168.1.1/admin"_s,
          u"172.16.0.1"_s, u"172.31.255.255"_s, u"169.254.1.1"_s, u"[::1]:3000"_s, u"[fe80::1]"_s,
          u"[fd00::1]/x"_s, u"[::ffff:10.0.0.1]"_s})
        EXPECT_EQ(typedAddress(typed), u"http://"_s + typed) << qPrintable(typed);
}

TEST(TypedAddress, isNoneForWhatReadsAsTheNameOfAFile) {
    for (const QString &name :
         {u"notes.md"_s, u"main.cpp"_s, u"readme.txt"_s, u"README.MD"_s, u"node.js"_s, u"main.rs"_s,
          u"setup.py"_s, u"install.sh"_s, u"archive.zip"_s, u"libfoo.so"_s, u"Cargo.toml"_s})
        EXPECT_EQ(typedAddress(name), none) << qPrintable(name);
}

TEST(TypedAddress, isAnyHostWithAPathAPortOrWww) {
    for (const QString &typed : {u"docs.rs/serde"_s, u"notes.md:8080"_s, u"www.notes.md"_s,
                                 u"notes.md/"_s, u"get.notes.md"_s})
        EXPECT_EQ(typedAddress(typed), u"https://"_s + typed) << qPrintable(typed);
}

TEST(TypedAddress, isNoneForWhatIsNoHost) {
    for (const QString &text : {u""_s,
                                u"frontend"_s,
                                u"3.14"_s,
                                u"1.2.3"_s,
                                u"v1.2"_s,
                                u"a.b"_s,
                                u"e.g."_s,
                                u".com"_s,
                                u"-a.com"_s,
                                u"a-.com"_s,
                                u"a..com"_s,
                                u"a_b.com"_s,
                                u"example.c0m"_s,
                                u"Mr.Smith"_s,
                                u"org.gnome.Nautilus"_s,
                                u"me@example.com"_s,
                                u"example.com:"_s,
                                u"example.com:0"_s,
                                u"example.com:65536"_s,
                                u"example.com:+80"_s,
                                u"example.com:x"_s,
                                u"host:3000"_s,
                                u"host/x"_s,
                                u"1.2.3.4.5"_s,
                                u"256.1.1.1"_s,
                                u"[::1"_s,
                                u"[]"_s,
                                u"[x]:80"_s,
                                u"[127.0.0.1]"_s,
                                u"two words.com"_s,
                                u"example.com/a b"_s,
                                u"example.com/\x01"_s,
                                u"example.com/\u202e"_s,
                                QString(64, u'a') + u".com"_s,
                                QString(10'000, u'.')})
        EXPECT_EQ(typedAddress(text), none) << qPrintable(text.left(40));
}

TEST(TypedAddress, isNoneOfAnotherScheme) {
    for (const QString &text :
         {u"javascript:alert(1)"_s, u"data:text/html,x"_s, u"file:///etc/fstab"_s, u"ftp://x.org"_s,
          u"mailto:me@x.org"_s, u"vscode://x.org/y"_s, u"https:"_s, u"https://"_s, u"https:///x"_s,
          u"http://a b"_s, u"view-source:https://x.org"_s, u"javascript://x.org/%0aalert(1)"_s})
        EXPECT_EQ(typedAddress(text), none) << qPrintable(text);
}
