// Whether what a person wants comes first: a world of applications with the desktop entries that
// their packages have, and of projects, is read as on a real desktop, and each query of a table is
// put to the view model. The three tables beside this file are for people to read and to extend.

#include "AppCatalog.h"
#include "Base/Settings.h"
#include "Fakes/FakePasteboard.h"
#include "Fakes/FakeSecretStore.h"
#include "Fakes/FakeSessionControl.h"
#include "Fakes/FakeUserDefaults.h"
#include "Fakes/FakeVolumes.h"
#include "Fakes/FakeWorkspace.h"
#include "KeychainHelper.h"
#include "LauncherViewModel.h"
#include "Platform/Linux/Launching/ExecLine.h"
#include "Platform/Linux/Launching/GioDesktopEntries.h"
#include "ProjectIndex.h"
#include "RoleCatalog.h"
#include "Worlds/LaunchWorld.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>

using namespace corvid;
using namespace corvid::test;

namespace {

const QString tables = QStringLiteral(CORVID_TEST_FIXTURES "/../Relevance/");

std::vector<QStringList> rowsOf(const QString &table) {
    std::vector<QStringList> rows;
    for (const QString &line : readFile(tables + table).split(u'\n', Qt::SkipEmptyParts))
        if (!line.startsWith(u'#'))
            rows.push_back(line.split(u'\t'));
    EXPECT_FALSE(rows.empty()) << qPrintable(table);
    return rows;
}

/** Desktop entries, the programs that they run, and projects, in folders of their own. */
class Desktop {
public:
    Desktop() {
        qputenv("XDG_DATA_HOME", folder_.filePath(u"data"_s).toLocal8Bit());
        qputenv("XDG_DATA_DIRS", folder_.filePath(u"none"_s).toLocal8Bit());
        qunsetenv("XDG_CURRENT_DESKTOP");
        qputenv("PATH", (folder_.filePath(u"bin"_s) + u":/usr/bin:/bin"_s).toLocal8Bit());
        qputenv("LC_ALL", "C.UTF-8");
        for (const QStringList &app : rowsOf(u"applications.tsv"_s))
            writeEntry(app);
        for (const QStringList &project : rowsOf(u"projects.tsv"_s))
            QDir().mkpath(projectRoot() + u'/' + project[0] + u"/.git"_s);
    }

    QString projectRoot() const { return folder_.filePath(u"Code"_s); }

    /** What this machine itself has is left out. */
    class Entries final : public DesktopEntries {
    public:
        explicit Entries(QString folder) : folder_(std::move(folder)) {}
        std::vector<DesktopEntry> list() const override {
            std::vector<DesktopEntry> all = GioDesktopEntries().list();
            std::erase_if(
                all, [this](const DesktopEntry &entry) { return !entry.path.startsWith(folder_); });
            return all;
        }

    private:
        QString folder_;
    };
    Entries entries() const { return Entries(folder_.path()); }

private:
    // An entry whose program is missing is not shown.
    void writeEntry(const QStringList &app) {
        enum { Id, Name, GenericName, Exec, Categories, Keywords };
        ASSERT_EQ(app.size(), Keywords + 1) << qPrintable(app[Id]);
        QString exec = app[Exec];
        QString program = execWords(exec).value(0);
        const bool isPath = program.startsWith(u'/');
        if (isPath) {
            exec.replace(exec.indexOf(program), program.size(), folder_.path() + program);
            program = folder_.path() + program;
        } else {
            program = folder_.filePath(u"bin/"_s + program);
        }
        writeFile(program, u"#!/bin/sh\n"_s);
        QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QString text =
            u"[Desktop Entry]\nType=Application\nName=%1\nExec=%2\n"_s.arg(app[Name], exec);
        for (const auto &[key, field] : {std::pair{u"GenericName"_s, GenericName},
                                         {u"Categories"_s, Categories},
                                         {u"Keywords"_s, Keywords}})
            if (!app[field].isEmpty())
                text += key + u'=' + app[field] + u'\n';
        writeFile(folder_.filePath(u"data/applications/"_s + app[Id] + u".desktop"_s), text);
    }

    QTemporaryDir folder_;
};

RoleCatalog::Taxonomy shippedTaxonomy() {
    return decodeTaxonomy(
               readFile(QStringLiteral(CORVID_BUILD_FOLDER "/Corvid_Corvid.bundle/taxonomy.json"))
                   .toUtf8())
        .value_or(RoleCatalog::Taxonomy());
}

/** The launcher on that desktop. */
class Launcher {
public:
    Launcher() {
        settings::setProjectRoots(defaults_, {desktop_.projectRoot()});
        model_.catalog = &catalog_;
        model_.projects = &projects_;
        catalog_.load();
        projects_.load();
        EXPECT_TRUE(eventually([this] { return catalog_.apps().size() > 250; }));
        EXPECT_TRUE(eventually([this] { return projects_.projects().size() >= 60; }));
        EXPECT_EQ(catalog_.apps().size(), rowsOf(u"applications.tsv"_s).size());
    }

    QStringList titles(const QString &query) {
        model_.setQuery(query);
        QStringList titles;
        for (const ResultItem &row : model_.results())
            titles.append(row.title);
        return titles;
    }

private:
    Desktop desktop_;
    Desktop::Entries entries_ = desktop_.entries();
    FakeUserDefaults defaults_;
    FakeWorkspace workspace_;
    FakePasteboard pasteboard_;
    FakeSecretStore secrets_;
    FakeVolumes volumes_;
    KeychainHelper keychain_{secrets_};
    FakeSessionControl session_;
    UsageStats stats_{defaults_};
    RoleCatalog roles_{shippedTaxonomy()};
    AppCatalog catalog_{workspace_, entries_, roles_};
    ProjectIndex projects_{defaults_, volumes_};
    AIService ai_{defaults_, &secrets_};
    LauncherViewModel model_{
        {defaults_, stats_, roles_, workspace_, pasteboard_, keychain_, ai_, session_, volumes_}};
};

struct Figures {
    int cases = 0, first = 0, firstThree = 0;
};

/** By class, and "all" but for the noise. Prints what was missed. */
std::map<QString, Figures> judge(Launcher &launcher) {
    std::map<QString, Figures> figures;
    for (const QStringList &row : rowsOf(u"queries.tsv"_s)) {
        const QString &kind = row[0];
        const QString &query = row[1];
        const QStringList wanted = row[2].split(u" / "_s);
        if (row.value(3).startsWith(u"rule:"_s))
            continue;
        const QStringList got =
            launcher.titles(query).first(std::min<qsizetype>(3, launcher.titles(query).size()));
        const bool isNoise = wanted[0].startsWith(u'!');
        const bool first =
            isNoise ? !wanted.contains(u'!' + got.value(0)) : wanted.contains(got.value(0));
        const bool firstThree = std::ranges::any_of(got, [&](const QString &title) {
                                    return wanted.contains(isNoise ? u'!' + title : title);
                                }) != isNoise;
        for (const QString &counted : isNoise ? QStringList{kind} : QStringList{kind, u"all"_s}) {
            Figures &of = figures[counted];
            ++of.cases;
            of.first += first;
            of.firstThree += firstThree;
        }
        if (!first || !firstThree)
            std::printf("%-8s %-24s %-10s %s\n", qPrintable(kind), qPrintable(query),
                        firstThree ? "not first" : "missed", qPrintable(got.join(u" | "_s)));
    }
    return figures;
}

} // namespace

TEST(Relevance, noClassOfQueriesFallsBehindWhatWasReached) {
    Launcher launcher;
    const std::map<QString, Figures> figures = judge(launcher);
    std::printf("\n%-10s %5s %12s %12s\n", "class", "cases", "first", "first three");
    for (const auto &[kind, of] : figures)
        std::printf("%-10s %5d %5d %4d %% %5d %4d %%\n", qPrintable(kind), of.cases, of.first,
                    100 * of.first / of.cases, of.firstThree, 100 * of.firstThree / of.cases);
    for (const QStringList &reached : rowsOf(u"reached.tsv"_s)) {
        const auto of = figures.find(reached[0]);
        ASSERT_NE(of, figures.end()) << qPrintable(reached[0]);
        EXPECT_GE(of->second.first, reached[1].toInt()) << qPrintable(reached[0]);
        EXPECT_GE(of->second.firstThree, reached[2].toInt()) << qPrintable(reached[0]);
    }
}
