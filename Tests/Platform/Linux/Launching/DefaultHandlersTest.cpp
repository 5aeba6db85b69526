#include "Platform/Linux/Launching/DefaultHandlers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>

#include <sys/stat.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString https = u"x-scheme-handler/https"_s;

class DefaultHandlersTest : public ::testing::Test {
protected:
    DefaultHandlersTest() {
        set("XDG_CONFIG_HOME", path(u"config"_s));
        set("XDG_CONFIG_DIRS", path(u"etc"_s));
        set("XDG_DATA_HOME", path(u"user"_s));
        set("XDG_DATA_DIRS", path(u"system"_s));
        set("XDG_CURRENT_DESKTOP", u"Testbed:Other"_s);
        for (const QString &id : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s})
            write(u"system/applications/%1.desktop"_s.arg(id));
    }
    ~DefaultHandlersTest() override {
        for (const auto &[variable, value] : old_) {
            if (value.isNull())
                qunsetenv(variable);
            else
                qputenv(variable, value);
        }
    }

    void set(const char *variable, const QString &value) {
        old_.try_emplace(variable, qgetenv(variable));
        qputenv(variable, QFile::encodeName(value));
    }
    QString path(const QString &name) const { return disk_.filePath(name); }
    void write(const QString &name, const QByteArray &content = {}) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }
    static QByteArray group(const char *name, const char *ids) {
        return QByteArray("[") + name + "]\nx-scheme-handler/https=" + ids + '\n';
    }
    static QByteArray defaults(const char *ids) { return group("Default Applications", ids); }

    /** The ids of the test's own files. */
    QStringList handlers(const QString &type = https) const {
        QStringList ids;
        for (const QString &file : defaultHandlers(type))
            if (file.startsWith(disk_.path()))
                ids.append(QFileInfo(file).completeBaseName());
        return ids;
    }

    QTemporaryDir disk_;
    std::map<const char *, QByteArray> old_;
};

} // namespace

TEST_F(DefaultHandlersTest, theUsersChoiceComesFirstAndWhatMerelyClaimsTheTypeLast) {
    write(u"config/testbed-mimeapps.list"_s, defaults("a.desktop"));
    write(u"config/mimeapps.list"_s,
          defaults("b.desktop;a.desktop;") + group("Added Associations", "f.desktop;"));
    write(u"etc/mimeapps.list"_s, defaults("c.desktop;"));
    write(u"user/applications/mimeapps.list"_s, defaults("d.desktop;"));
    write(u"system/applications/other-mimeapps.list"_s, defaults("e.desktop"));
    write(u"system/applications/mimeinfo.cache"_s, group("MIME Cache", "g.desktop;b.desktop;"));
    EXPECT_EQ(handlers(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s}));
    EXPECT_EQ(handlers(u"x-scheme-handler/http"_s), QStringList()) << "another type";
}

TEST_F(DefaultHandlersTest, anAssociationThatTheUserRemovedIsNone) {
    write(u"config/mimeapps.list"_s, group("Removed Associations", "a.desktop;b.desktop;"));
    write(u"etc/mimeapps.list"_s, group("Added Associations", "b.desktop;c.desktop;"));
    write(u"system/applications/mimeinfo.cache"_s, group("MIME Cache", "a.desktop;d.desktop;"));
    EXPECT_EQ(handlers(), (QStringList{u"c"_s, u"d"_s}));
}

TEST_F(DefaultHandlersTest, whatIsNotInstalledIsLeftOut) {
    write(u"config/mimeapps.list"_s, defaults("gone.desktop;a;../b.desktop;;c.desktop"));
    EXPECT_EQ(handlers(), QStringList{u"c"_s});
}

TEST_F(DefaultHandlersTest, aDashInAnIdMayStandForASubfolder) {
    write(u"system/applications/kde/sub-x.desktop"_s);
    write(u"system/applications/one/two/y.desktop"_s);
    write(u"config/mimeapps.list"_s, defaults("kde-sub-x.desktop;one-two-y.desktop"));
    EXPECT_EQ(handlers(), (QStringList{u"sub-x"_s, u"y"_s}));
}

TEST_F(DefaultHandlersTest, theUsersOwnFileOfAnIdComesBeforeTheSystems) {
    write(u"user/applications/a.desktop"_s);
    write(u"config/mimeapps.list"_s, defaults("a.desktop"));
    EXPECT_EQ(defaultHandlers(https).value(0), path(u"user/applications/a.desktop"_s));
}

TEST_F(DefaultHandlersTest, pipesInPlaceOfTheListsHoldNobodyUp) {
    write(u"config/mimeapps.list"_s, defaults("pipe.desktop;a.desktop;"));
    QDir().mkpath(path(u"user/applications"_s));
    for (const QString &name :
         {u"config/testbed-mimeapps.list"_s, u"user/applications/mimeapps.list"_s,
          u"user/applications/pipe.desktop"_s, u"system/applications/mimeinfo.cache"_s,
          u"system/applications/defaults.list"_s})
        ASSERT_EQ(mkfifo(QFile::encodeName(path(name)).constData(), 0600), 0);
    EXPECT_EQ(handlers(), QStringList{u"a"_s});
}
