// What the values in the file of the user defaults do in the whole program, sound and damaged, and
// when. docs/settings.md tells people the same.

#include "AppDelegate.h"
#include "Base/Settings.h"
#include "Fakes/FakeAppearanceSettings.h"
#include "Fakes/FakeFolderDialog.h"
#include "Fakes/FakeHotKeyBackend.h"
#include "Fakes/FakeInstance.h"
#include "Fakes/FakeNotifier.h"
#include "Fakes/FakePanelSurface.h"
#include "Fakes/FakeSystemLog.h"
#include "Fakes/FakeTrayWatch.h"
#include "Fakes/LauncherWorld.h"
#include "Front/CommandLine.h"
#include "HotKeyManager.h"
#include "Platform/Linux/JsonUserDefaults.h"
#include "Settings/FormWidgets.h"
#include "SettingsView.h"
#include "Worlds/QtPrinters.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QString folder() {
    return locations::configuration() + u"/Corvid/"_s;
}
QString file() {
    return folder() + u"defaults.json"_s;
}
QByteArray content(const QString &path = file()) {
    QFile source(path);
    return source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray("(no file)");
}
QJsonObject stored() {
    return QJsonDocument::fromJson(content()).object();
}

// The process-wide stores are made once, so all tests here share one file.
JsonUserDefaults &sharedDefaults() {
    static JsonUserDefaults defaults;
    UserDefaults::installStandard(&defaults);
    return defaults;
}

class DefaultsFileTest : public ::testing::Test {
protected:
    DefaultsFileTest() {
        qputenv("XDG_DATA_HOME", data.path().toLocal8Bit());
        QDir().mkpath(folder());
        QDir(locations::home()).mkdir(u"Code"_s);
        writeCache(locations::cacheFile(u"catalog.json"_s), std::vector<AppEntry>{zed});
        edit("{}");
    }
    ~DefaultsFileTest() override {
        defaults.synchronize();
        QDir(folder()).removeRecursively();
    }

    static void edit(const QByteArray &bytes) {
        QFile target(file());
        ASSERT_TRUE(target.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(target.write(bytes), bytes.size());
    }
    /** With a second process. */
    static void write(const QByteArray &object) {
        ASSERT_EQ(QProcess::execute(QStringLiteral(CORVID_BUILD_FOLDER "/tests/DefaultsWriter"),
                                    {file(), QString::fromUtf8(object)}),
                  0);
    }
    static QByteArray only(const char *key, const char *value) {
        return QByteArray("{\"") + key + "\": " + value + '}';
    }

    // What the program makes of the file at this moment.
    HotKey hotKey() {
        delegate.applyHotkey();
        return hotKeyBackend.grabbed.value_or(HotKey{});
    }
    QWidget &form() {
        if (delegate.settingsWindow())
            delegate.settingsWindow()->close();
        delegate.openSettings();
        return *delegate.settingsWindow();
    }
    QStringList roots() {
        QStringList result;
        for (const ElidedLabel *label : form().findChildren<ElidedLabel *>())
            if (label->isVisible())
                result.append(label->text());
        EXPECT_EQ(result, ProjectIndex(defaults, volumes).roots());
        return result;
    }
    bool aiEnabled() {
        const bool result = form().findChild<QCheckBox *>()->isChecked();
        EXPECT_EQ(result, settings::aiEnabled(defaults));
        return result;
    }
    QString field(const QString &label) {
        for (const QLabel *each : form().findChildren<QLabel *>())
            if (QString(each->text()).remove(u'&') == label)
                return qobject_cast<QLineEdit *>(each->buddy())->text();
        return u"(no field)"_s;
    }
    QString baseURL() {
        EXPECT_EQ(field(u"Base URL"_s), settings::aiBaseURL(defaults));
        return settings::aiBaseURL(defaults);
    }
    QString model() {
        EXPECT_EQ(field(u"Model"_s), settings::aiModel(defaults));
        return settings::aiModel(defaults);
    }
    static const auto &counts() { return UsageStats::shared().counts(); }
    static const auto &latches() { return UsageStats::shared().latches(); }
    /** The folder that is opened again; empty when there is none. */
    QString reopened() {
        workspace.opened.clear();
        delegate.performAction(OpenLastProject{});
        return workspace.opened.value(0);
    }
    QStringList keptAside() const {
        return QDir(folder()).entryList({u"defaults.json.damaged-*"_s});
    }

    const QString code = locations::home() + u"/Code"_s;
    const AppEntry zed = makeApp(u"Zed"_s);
    QTemporaryDir data;
    JsonUserDefaults &defaults = sharedDefaults();
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeSecretStore secrets;
    FakeSystemLog log;
    FakeDesktopEntries entries;
    FakeVolumes volumes;
    FakePanelSurface panelSurface;
    FakeHotKeyBackend hotKeyBackend;
    HotKeyManager hotKeys{hotKeyBackend};
    FakeInstance instance;
    FakeTrayWatch tray;
    FakeAppearanceSettings appearance;
    FakeFolderDialog folderDialog;
    AIService ai{defaults, &secrets};
    FakeSessionControl session;
    FakeNotifier notifier;
    AppDelegate delegate{{defaults, workspace, pasteboard, secrets, log, entries, volumes,
                          panelSurface, nullptr, hotKeys, instance, tray, appearance, folderDialog,
                          ai, session, notifier}};
};

class DefaultsFileDeathTest : public DefaultsFileTest {
protected:
    DefaultsFileDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

constexpr const char *wrongForNumbers[]{R"("40")", "true", "null", "[40]", R"({"a": 40})", "40.5"};
constexpr const char *wrongForTexts[]{"7",    "-7",       "1e300",        "true",
                                      "null", R"(["x"])", R"({"a": "x"})"};
constexpr HotKey altSpace{49, HotKey::option};

} // namespace

// --- Each row of the table

TEST_F(DefaultsFileTest, aHotKeyOfAnotherTypeIsAbsent) {
    EXPECT_EQ(hotKey(), altSpace);
    for (const char *wrong : wrongForNumbers) {
        edit(only("hotkeyKeyCode", wrong));
        EXPECT_EQ(hotKey(), altSpace) << wrong;
        edit(only("hotkeyModifiers", wrong));
        EXPECT_EQ(hotKey(), altSpace) << wrong;
        form();
    }
    edit(R"({"hotkeyKeyCode": 4294967295, "hotkeyModifiers": 4294967295})");
    EXPECT_EQ(hotKey(), (HotKey{4294967295U, 4294967295U}));
    form();
}

TEST_F(DefaultsFileDeathTest, aHotKeyNumberThatIsNegativeOrHugeStopsCorvid) {
    for (const char *key : {"hotkeyKeyCode", "hotkeyModifiers"}) {
        for (const char *wrong : {"-1", "4294967296", "1e300"}) {
            edit(only(key, wrong));
            EXPECT_DEATH(delegate.applyHotkey(), std::string("the stored ") + key + " is ");
        }
    }
    edit(only("hotkeyKeyCode", "-1"));
    EXPECT_DEATH(delegate.openSettings(), "the stored hotkeyKeyCode is -1; it must be from 0 to "
                                          "4294967295");
    edit(R"({"hotkeyKeyCode": 40, "hotkeyModifiers": -1})");
    EXPECT_DEATH(delegate.openSettings(), "the stored hotkeyModifiers is -1");
}

TEST_F(DefaultsFileTest, foldersOfAnotherTypeAreAbsent) {
    EXPECT_EQ(roots(), QStringList{code});
    for (const char *wrong : {R"("/x")", "7", "-7", "1e300", "true", "null", R"({"a": "/x"})",
                              R"(["/x", 7])", R"(["/x", null])", R"([["/x"]])", "[]"}) {
        edit(only("projectRoots", wrong));
        EXPECT_EQ(roots(), QStringList{code}) << wrong;
    }
    edit(only("projectRoots", R"(["/x", "~/y", "", "/x"])"));
    EXPECT_EQ(roots(), (QStringList{u"/x"_s, u"~/y"_s, QString(), u"/x"_s})) << "as they stand";
}

TEST_F(DefaultsFileTest, aSwitchThatIsNoTruthValueIsOnForNumbersBut0) {
    EXPECT_TRUE(aiEnabled());
    const std::pair<const char *, bool> values[]{
        {"true", true}, {"false", false},      {"1", true},     {"0", false},
        {"-1", true},   {"1e300", true},       {"null", false}, {R"("true")", false},
        {"[]", false},  {R"({"a": 1})", false}};
    for (const auto &[value, on] : values) {
        edit(only("aiEnabled", value));
        EXPECT_EQ(aiEnabled(), on) << value;
    }
}

TEST_F(DefaultsFileTest, anAddressAndAModelOfAnotherTypeAreAbsent) {
    for (const char *wrong : wrongForTexts) {
        edit(only("aiBaseURL", wrong));
        EXPECT_EQ(baseURL(), u"https://api.openai.com/v1") << wrong;
        edit(only("aiModel", wrong));
        EXPECT_EQ(model(), u"gpt-4o-mini") << wrong;
    }
    edit(R"({"aiBaseURL": " x ", "aiModel": ""})");
    EXPECT_EQ(baseURL(), u" x ") << "as it stands";
    EXPECT_EQ(model(), QString());
}

TEST_F(DefaultsFileDeathTest, anAddressThatIsNoUrlStopsCorvidWhenAQuestionIsAsked) {
    secrets.secrets[u"ai-api-key"_s] = u"key"_s;
    edit(only("aiBaseURL", R"("http://[bad")"));
    EXPECT_DEATH({ const AIService::Task task = ai.stream(u"question"_s, nullptr, nullptr); },
                 "the base address of the AI endpoint is not a URL");
}

TEST_F(DefaultsFileTest, launchCountsOfAnotherTypeAreAbsentAltogether) {
    EXPECT_TRUE(counts().isEmpty());
    for (const char *wrong :
         {"7", "-7", "1e300", "true", "null", R"("x")", "[1]", R"({"a": 1, "b": "2"})",
          R"({"a": 1, "b": 1.5})", R"({"a": 1, "b": null})", R"({"a": 1, "b": 1e300})"}) {
        edit(only("launchCounts", wrong));
        EXPECT_TRUE(counts().isEmpty()) << wrong;
        UsageStats::shared().recordLaunch(u"c"_s);
        defaults.synchronize();
        EXPECT_EQ(stored(), (QJsonObject{{u"launchCounts"_s, QJsonObject{{u"c"_s, 1}}}})) << wrong;
    }
}

TEST_F(DefaultsFileTest, aNegativeLaunchCountCountsAgainstWhatWasLaunched) {
    const auto score = [this] {
        SearchIndex index(std::vector{zed});
        index.updateUsage(UsageStats::shared());
        return index.score(PreparedQuery(u"zed"_s), 0);
    };
    const qint64 without = score();
    edit(R"({"launchCounts": {"id.Zed|/Applications/Zed.app": -2}})");
    EXPECT_EQ(score(), without - 30);
    edit(R"({"launchCounts": {"id.Zed|/Applications/Zed.app": 614891469123651720}})");
    EXPECT_EQ(score(), without + 150) << "the most";
}

TEST_F(DefaultsFileDeathTest, aLaunchCountThatOverflowsStopsCorvidWhenItIsFound) {
    edit(R"({"launchCounts": {"id.Zed|/Applications/Zed.app": 614891469123651721}})");
    EXPECT_DEATH(
        {
            delegate.applicationDidFinishLaunching(CommandLine{});
            delegate.viewModel().setQuery(u"zed"_s);
        },
        "a launch count of 614891469123651721 overflows");
}

TEST_F(DefaultsFileTest, choicesOfAnotherTypeAreAbsentAltogether) {
    EXPECT_TRUE(latches().isEmpty());
    for (const char *wrong : {"7", "-7", "1e300", "true", "null", R"("x")", R"(["x"])",
                              R"({"a": "x", "b": 2})", R"({"a": "x", "b": null})"}) {
        edit(only("queryLatches", wrong));
        EXPECT_TRUE(latches().isEmpty()) << wrong;
        UsageStats::shared().recordLatch(u"q"_s, u"c"_s);
        defaults.synchronize();
        EXPECT_EQ(stored(), (QJsonObject{{u"queryLatches"_s, QJsonObject{{u"q"_s, u"c"_s}}}}))
            << wrong;
    }
}

TEST_F(DefaultsFileTest, aLastProjectOfAnotherTypeIsAbsent) {
    EXPECT_EQ(reopened(), QString());
    for (const char *wrong :
         {"7", "-7", "1e300", "true", "null", R"("/x")", R"(["/x", "/y"])", R"({"project": "/x"})",
          R"({"editor": "/y"})", R"({"project": 7, "editor": "/y"})",
          R"({"project": "/x", "editor": null})"}) {
        edit(only("lastProject", wrong));
        EXPECT_EQ(reopened(), QString()) << wrong;
    }
    edit(only("lastProject", R"({"project": "/x", "editor": "/y"})"));
    EXPECT_EQ(reopened(), u"/x");
}

// --- The file as a whole

TEST_F(DefaultsFileTest, valuesOfAnotherTypeStayUntilTheirKeyIsWritten) {
    edit(R"({"hotkeyKeyCode": "40", "projectRoots": 7, "aiEnabled": "no", "aiBaseURL": 1,
             "aiModel": [], "launchCounts": 3, "queryLatches": 4, "lastProject": 5,
             "theirs": {"deep": [1, 2]}})");
    delegate.openSettings();
    for (QPushButton *button : delegate.settingsWindow()->findChildren<QPushButton *>())
        if (button->isDefault())
            button->click();
    defaults.synchronize();
    EXPECT_EQ(stored(), (QJsonObject{{u"hotkeyKeyCode"_s, u"40"_s},
                                     {u"projectRoots"_s, QJsonArray{code}},
                                     {u"aiEnabled"_s, false},
                                     {u"aiBaseURL"_s, u"https://api.openai.com/v1"_s},
                                     {u"aiModel"_s, u"gpt-4o-mini"_s},
                                     {u"launchCounts"_s, 3},
                                     {u"queryLatches"_s, 4},
                                     {u"lastProject"_s, 5},
                                     {u"theirs"_s, QJsonObject{{u"deep"_s, QJsonArray{1, 2}}}}}));
}

TEST_F(DefaultsFileTest, damagedInTheMiddleItReadsAsEmptyAndIsKeptAsideByTheFirstWrite) {
    const QByteArray damaged = R"({"hotkeyKeyCode": 40, "hotkeyModifiers": 256, "aiEnabled": false,
        "aiModel": "mine", "projectRoots": ["/x", /y"], "launchCounts": {"a": 1},
        "queryLatches": {"q": "a"}, "lastProject": {"project": "/x", "editor": "/y"}})";
    edit(damaged);
    EXPECT_EQ(hotKey(), altSpace);
    EXPECT_TRUE(aiEnabled());
    EXPECT_EQ(model(), u"gpt-4o-mini");
    EXPECT_EQ(roots(), QStringList{code});
    EXPECT_TRUE(counts().isEmpty());
    EXPECT_TRUE(latches().isEmpty());
    EXPECT_EQ(reopened(), QString());
    EXPECT_EQ(content(), damaged) << "reading changes nothing";
    EXPECT_EQ(keptAside(), QStringList());
    delegate.settingsWindow()->save();
    defaults.synchronize();
    EXPECT_EQ(stored(), (QJsonObject{{u"aiBaseURL"_s, u"https://api.openai.com/v1"_s},
                                     {u"aiModel"_s, u"gpt-4o-mini"_s},
                                     {u"aiEnabled"_s, true},
                                     {u"projectRoots"_s, QJsonArray{code}}}));
    ASSERT_EQ(keptAside().size(), 1);
    EXPECT_EQ(content(folder() + keptAside().constFirst()), damaged);
}

// --- Read afresh

namespace {

const QByteArray others = R"({"hotkeyKeyCode": 40, "hotkeyModifiers": 256, "aiEnabled": false,
    "aiBaseURL": "http://localhost/v1", "aiModel": "mine", "projectRoots": ["/x"],
    "launchCounts": {"a": 7}, "queryLatches": {"q": "a"},
    "lastProject": {"project": "/x", "editor": "/y"}})";

class FreshnessTest : public DefaultsFileTest {
protected:
    void expectNothing() {
        EXPECT_EQ(hotKey(), altSpace);
        EXPECT_TRUE(aiEnabled());
        EXPECT_EQ(baseURL(), u"https://api.openai.com/v1");
        EXPECT_EQ(model(), u"gpt-4o-mini");
        EXPECT_EQ(roots(), QStringList{code});
        EXPECT_TRUE(counts().isEmpty());
        EXPECT_TRUE(latches().isEmpty());
        EXPECT_EQ(reopened(), QString());
    }
    void expectOthers() {
        EXPECT_EQ(hotKey(), (HotKey{40, HotKey::command}));
        EXPECT_FALSE(aiEnabled());
        EXPECT_EQ(baseURL(), u"http://localhost/v1");
        EXPECT_EQ(model(), u"mine");
        EXPECT_EQ(roots(), QStringList{u"/x"_s});
        EXPECT_EQ(counts().value(u"a"_s), 7);
        EXPECT_EQ(latches().value(u"q"_s), u"a");
        EXPECT_EQ(reopened(), u"/x");
    }
};

} // namespace

TEST_F(FreshnessTest, anEditByHandIsSeenAtTheNextUse) {
    expectNothing();
    edit(others);
    expectOthers();
    edit("{}");
    expectNothing();
}

TEST_F(FreshnessTest, aWriteByAnotherProcessIsSeenAtTheNextUse) {
    expectNothing();
    write(others);
    expectOthers();
}
