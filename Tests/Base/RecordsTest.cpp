#include "Catalog/JsonCache.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const AppEntry editor{u"Editor"_s,        u"com.example.editor"_s,
                      u"/a/Editor.app"_s, {u"code-editor"_s},
                      {u"ed"_s},          u"public.app-category.developer-tools"_s};
const ProjectEntry web{u"web"_s, u"/home/x/Code/web"_s, {u"git"_s, u"js"_s}};

} // namespace

TEST(Records, usageKeyOfAnApplicationIsBundleIdBarPath) {
    EXPECT_EQ(usageKey(editor), u"com.example.editor|/a/Editor.app");
}

TEST(Records, usageKeyOfAProjectIsItsPath) {
    EXPECT_EQ(usageKey(web), u"/home/x/Code/web");
}

TEST(Records, equalListsShareTheirMemoryOnceAskedTo) {
    const auto copyOf = [](const QStringList &texts) {
        QStringList copies;
        for (const QString &text : texts)
            copies.append(QString(text.constData(), text.size()));
        return copies;
    };
    AppEntry other = editor;
    other.roles = copyOf(editor.roles);
    other.category = copyOf({editor.category}).constFirst();
    ProjectEntry twin = web;
    twin.stack = copyOf(web.stack);
    const std::vector<AppEntry> apps = withSharedTexts({editor, other});
    EXPECT_EQ(apps, (std::vector{editor, other}));
    EXPECT_EQ(apps[0].roles.constData(), apps[1].roles.constData());
    EXPECT_EQ(apps[0].category.constData(), apps[1].category.constData());
    const std::vector<ProjectEntry> projects = withSharedTexts({web, twin});
    EXPECT_EQ(projects, (std::vector{web, twin}));
    EXPECT_EQ(projects[0].stack.constData(), projects[1].stack.constData());
}

TEST(Records, codingKeysAreTheFieldNames) {
    EXPECT_EQ(toJson(editor).keys(), (QStringList{u"aliases"_s, u"bundleID"_s, u"category"_s,
                                                  u"name"_s, u"path"_s, u"roles"_s}));
    EXPECT_EQ(toJson(web).keys(), (QStringList{u"name"_s, u"path"_s, u"stack"_s}));
}

TEST(Records, recordsSurviveCoding) {
    EXPECT_EQ(decodeRecords<AppEntry>(encodeRecords<AppEntry>({editor})),
              std::vector<AppEntry>{editor});
    EXPECT_EQ(decodeRecords<ProjectEntry>(encodeRecords<ProjectEntry>({web})),
              std::vector<ProjectEntry>{web});
}

TEST(Records, actionsAreWrittenWhereThereAreSomeAndSurviveCoding) {
    AppEntry app = editor;
    app.actions = {{u"new-window"_s, u"New Window"_s}, {u"quiet"_s, u"Leise"_s}};
    EXPECT_TRUE(toJson(app).contains(u"actions"_s));
    EXPECT_FALSE(toJson(editor).contains(u"actions"_s));
    EXPECT_EQ(fromJson<AppEntry>(toJson(app)), app);
}

TEST(Records, actionsThatCannotBeReadAreNoneAndSpoilNothing) {
    const QJsonArray actions{7, QJsonObject{{u"id"_s, u"a"_s}},
                             QJsonObject{{u"id"_s, 1}, {u"name"_s, u"A"_s}},
                             QJsonObject{{u"id"_s, u"e"_s}, {u"name"_s, QString()}},
                             QJsonObject{{u"id"_s, u"b"_s}, {u"name"_s, u"B"_s}}};
    QJsonObject object = toJson(editor);
    object[u"actions"_s] = actions;
    ASSERT_TRUE(fromJson<AppEntry>(object));
    EXPECT_EQ(fromJson<AppEntry>(object)->actions, (QList<DesktopAction>{{u"b"_s, u"B"_s}}));
    object[u"actions"_s] = 7;
    EXPECT_EQ(fromJson<AppEntry>(object), editor);
}

TEST(Records, actionsAreBoundedInNumberAndLength) {
    AppEntry app = editor;
    for (int i = 0; i < 20; ++i)
        app.actions.append({QString::number(i), QString(1000, u'x')});
    const std::optional<AppEntry> read = fromJson<AppEntry>(toJson(app));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->actions.size(), 16);
    EXPECT_EQ(read->actions.first().name, QString(256, u'x'));
}

TEST(Records, everyKeyOfAnApplicationIsRequired) {
    const QStringList keys = toJson(editor).keys();
    for (const QString &key : keys) {
        QJsonObject object = toJson(editor);
        object.remove(key);
        EXPECT_FALSE(fromJson<AppEntry>(object)) << qPrintable(key);
        object[key] = 7;
        EXPECT_FALSE(fromJson<AppEntry>(object)) << qPrintable(key);
    }
}

TEST(Records, everyKeyOfAProjectIsRequired) {
    const QStringList keys = toJson(web).keys();
    for (const QString &key : keys) {
        QJsonObject object = toJson(web);
        object.remove(key);
        EXPECT_FALSE(fromJson<ProjectEntry>(object)) << qPrintable(key);
        object[key] = QJsonArray{7};
        EXPECT_FALSE(fromJson<ProjectEntry>(object)) << qPrintable(key);
    }
}

TEST(Records, theWordsOfAnApplicationMayBeMissingAndAreNotWrittenWhereThereAreNone) {
    EXPECT_FALSE(toJson(editor).contains("words"_L1));
    AppEntry described = editor;
    described.words = u"schöner text"_s.toUtf8();
    EXPECT_EQ(toJson(described)["words"_L1], u"schöner text"_s);
    EXPECT_EQ(fromJson<AppEntry>(toJson(described)), described);
    QJsonObject damaged = toJson(described);
    damaged["words"_L1] = 7;
    EXPECT_FALSE(fromJson<AppEntry>(damaged));
    damaged["words"_L1] = QString(1'000'000, u'é');
    EXPECT_EQ(fromJson<AppEntry>(damaged)->words, QString(512, u'é').toUtf8());
}

TEST(Records, oneRecordThatIsNotWholeMakesTheWholeListUnreadable) {
    QJsonObject damaged = toJson(web);
    damaged.remove(u"stack"_s);
    const QByteArray json = QJsonDocument(QJsonArray{toJson(web), damaged}).toJson();
    EXPECT_TRUE(decodeRecords<ProjectEntry>(json).empty());
}

TEST(Records, bytesThatAreNoJsonArrayDecodeToNothing) {
    for (const char *bytes : {"", "{}", "[", "null", "[1]", "\xff\xfe", "[{}]"})
        EXPECT_TRUE(decodeRecords<AppEntry>(bytes).empty()) << bytes;
}

TEST(Records, namesOfAMegabyteAreCut) {
    const QString endless(1'000'000, u'x');
    AppEntry app = editor;
    app.name = endless;
    app.aliases = {endless, u"short"_s};
    const std::optional<AppEntry> read = fromJson<AppEntry>(toJson(app));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->name, endless.left(256));
    EXPECT_EQ(read->aliases, (QStringList{endless.left(256), u"short"_s}));
    EXPECT_EQ(read->path, app.path);
    const ProjectEntry project{endless, web.path, web.stack};
    ASSERT_TRUE(fromJson<ProjectEntry>(toJson(project)));
    EXPECT_EQ(fromJson<ProjectEntry>(toJson(project))->name, endless.left(256));
}

TEST(Records, aByteOrderMarkWithinATextIsKept) {
    // Without it, the two paths would be one.
    const std::vector<ProjectEntry> projects{{u"\ufeffa"_s, u"/a\"\ufeffb"_s, {}},
                                             {u"a"_s, u"/a\"b"_s, {}}};
    EXPECT_EQ(decodeRecords<ProjectEntry>(encodeRecords(projects)), projects);
}

TEST(Records, aListThatIsNestedDeeperThanAnyOfOursDecodesToNothing) {
    const auto nested = [](int levels) {
        return R"([{"name":"a","path":"/a","stack":[],"more":)" + QByteArray(levels - 2, '[') +
               QByteArray(levels - 2, ']') + "}]";
    };
    EXPECT_EQ(decodeRecords<ProjectEntry>(nested(32)).size(), 1U);
    EXPECT_TRUE(decodeRecords<ProjectEntry>(nested(33)).empty());
    EXPECT_TRUE(decodeRecords<ProjectEntry>(QByteArray(3'000'000, '[')).empty());
}
