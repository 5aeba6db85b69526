#pragma once

#include "AIService.h"
#include "AppCatalog.h"
#include "Base/Locations.h"
#include "Fakes/FakePasteboard.h"
#include "Fakes/FakeSecretStore.h"
#include "Fakes/FakeSessionControl.h"
#include "Fakes/FakeWorkspace.h"
#include "KeychainHelper.h"
#include "LauncherViewModel.h"
#include "Platform/Linux/JsonUserDefaults.h"
#include "Platform/Linux/Launching/GioDesktopEntries.h"
#include "Platform/Linux/MountedVolumes.h"
#include "ProjectIndex.h"
#include "RoleCatalog.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvid::test {

using namespace Qt::Literals::StringLiterals;

/** The program behind its panel: real settings, real catalogs over the real file system, and only
    what would be seen on the desktop is faked. Starts in the world as it is when constructed. */
class Program {
public:
    Program() {
        catalog.onUpdate = [this] {
            ++catalogUpdates;
            model.refresh();
        };
        projects.onUpdate = [this] { model.refresh(); };
        model.catalog = &catalog;
        model.projects = &projects;
        model.onAction = [this](const LauncherAction &action) { actions.push_back(action); };
        catalog.load();
        updatesWithCache_ = catalogUpdates;
        projects.load();
    }

    bool applicationsAreScanned() const { return catalogUpdates > updatesWithCache_; }
    bool isScanned() const { return applicationsAreScanned() && !projects.scanning(); }
    bool waitForScans() const {
        return waitUntil([this] { return isScanned(); }, std::chrono::seconds(50));
    }

    /** The titles of the rows, after each letter was typed by itself. No letter may take long. */
    QStringList typed(const QString &query) {
        model.setQuery({});
        QString text;
        for (const QChar letter : query) {
            QElapsedTimer timer;
            timer.start();
            model.setQuery(text += letter);
            EXPECT_LT(timer.elapsed(), 1000) << "at " << qPrintable(text.left(40));
        }
        QStringList titles;
        for (const ResultItem &row : model.results())
            titles.append(row.title);
        return titles;
    }
    void choose(const QString &query) {
        typed(query);
        model.submit();
    }

    JsonUserDefaults defaults;
    UsageStats stats{defaults};
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeSecretStore secrets;
    KeychainHelper keychain{secrets};
    FakeSessionControl session;
    GioDesktopEntries desktopEntries;
    MountedVolumes volumes;
    RoleCatalog roles{{}};
    AIService ai{defaults, &secrets};
    int catalogUpdates = 0;
    std::vector<LauncherAction> actions;
    LauncherViewModel model{
        {defaults, stats, roles, workspace, pasteboard, keychain, ai, session, volumes}};
    AppCatalog catalog{workspace, desktopEntries, roles};
    ProjectIndex projects{defaults, volumes};

private:
    int updatesWithCache_ = 0;
};

/** A home folder with the application "Frobnicator" and the project "frobs", and settings of which
    one is none of ours. */
class FaultWorld : public ::testing::Test {
protected:
    FaultWorld() {
        QDir().mkpath(home());
        qputenv("HOME", QFile::encodeName(home()));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(root_.filePath(u"system"_s)));
        for (const char *variable :
             {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
            qunsetenv(variable);
    }

    QString home() const { return root_.filePath(u"home"_s); }
    QString inHome(const QString &path) const { return home() + u'/' + path; }

    static void write(const QString &path, const QByteArray &content = {}) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
        ASSERT_EQ(file.write(content), content.size());
    }
    static QByteArray contentOf(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void writeEntry(const QString &id, const QByteArray &name) const {
        write(inHome(u".local/share/applications/%1.desktop"_s.arg(id)),
              "[Desktop Entry]\nType=Application\nExec=true\nName=" + name + '\n');
    }
    void furnish() const {
        writeEntry(u"frob"_s, "Frobnicator");
        write(inHome(u"Code/frobs/Makefile"_s));
        write(settingsFile(), R"({"theirs": [1, 2], "launchCounts": {"x": 3}})");
    }

    QString settingsFile() const { return inHome(u".config/Corvid/defaults.json"_s); }
    QJsonObject settings() const {
        return decodeDefaults(contentOf(settingsFile())).value_or(QJsonObject());
    }
    qint64 storedLaunches(const QString &key) const {
        return settings()[u"launchCounts"_s].toObject()[key].toInteger();
    }
    QString cacheFile(const QString &name) const {
        return inHome(u".local/share/Corvid/%1.json"_s.arg(name));
    }
    QString frobKey() const {
        return u"frob|"_s + inHome(u".local/share/applications/frob.desktop"_s);
    }

    QTemporaryDir root_;
};

/** What a world of its own looks like to a person who types. */
inline const QStringList bothFound{u"Frobnicator"_s, u"frobs"_s};

} // namespace corvid::test
