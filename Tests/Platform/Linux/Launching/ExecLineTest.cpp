#include "Platform/Linux/Launching/ExecLine.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const LaunchedEntry fields{u"My Editor"_s, u"my-icon"_s, u"/apps/editor.desktop"_s};
const QUrl first = QUrl::fromLocalFile(u"/tmp/a file"_s);
const QUrl second = QUrl::fromLocalFile(u"/tmp/ü"_s);
const QUrl web(u"https://example.com/?q=a%20b"_s);

struct Row {
    const char *rule;
    QString exec;
    QList<QUrl> urls;
    std::vector<QStringList> lines;
};

} // namespace

TEST(ExecLine, fieldCodesExpandAsTheDesktopEntryRulesSay) {
    const std::vector<Row> rows{
        {"no files: file codes vanish", u"edit %F --x %u"_s, {}, {{u"edit"_s, u"--x"_s}}},
        {"%F takes all paths at once",
         u"edit %F"_s,
         {first, second},
         {{u"edit"_s, u"/tmp/a file"_s, u"/tmp/ü"_s}}},
        {"%U takes all addresses at once",
         u"edit %U"_s,
         {first, web},
         {{u"edit"_s, u"file:///tmp/a%20file"_s, u"https://example.com/?q=a%20b"_s}}},
        {"%f runs once for each file",
         u"edit %f -n"_s,
         {first, second},
         {{u"edit"_s, u"/tmp/a file"_s, u"-n"_s}, {u"edit"_s, u"/tmp/ü"_s, u"-n"_s}}},
        {"%u runs once for each address",
         u"edit %u"_s,
         {web, second},
         {{u"edit"_s, u"https://example.com/?q=a%20b"_s}, {u"edit"_s, u"file:///tmp/%C3%BC"_s}}},
        {"%f inside a word", u"edit --file=%f"_s, {first}, {{u"edit"_s, u"--file=/tmp/a file"_s}}},
        {"no code for files: the path is appended",
         u"edit --new"_s,
         {first},
         {{u"edit"_s, u"--new"_s, u"/tmp/a file"_s}}},
        {"no code for files: one run for each",
         u"edit"_s,
         {first, second},
         {{u"edit"_s, u"/tmp/a file"_s}, {u"edit"_s, u"/tmp/ü"_s}}},
        {"no code for files: an address is appended as it is",
         u"edit"_s,
         {web},
         {{u"edit"_s, u"https://example.com/?q=a%20b"_s}}},
        {"a program of paths gets no address", u"edit %F"_s, {web}, {{u"edit"_s}}},
        {"%i is the icon option",
         u"edit %i -v"_s,
         {},
         {{u"edit"_s, u"--icon"_s, u"my-icon"_s, u"-v"_s}}},
        {"%c is the name, one argument",
         u"edit --caption %c"_s,
         {},
         {{u"edit"_s, u"--caption"_s, u"My Editor"_s}}},
        {"%k is the entry's path", u"edit %k"_s, {}, {{u"edit"_s, u"/apps/editor.desktop"_s}}},
        {"%% is a percent sign", u"edit 100%%"_s, {}, {{u"edit"_s, u"100%"_s}}},
        {"%%f is no code", u"edit %%f"_s, {first}, {{u"edit"_s, u"%f"_s, u"/tmp/a file"_s}}},
        {"deprecated codes are removed", u"edit %d %D %n %N %v %m x"_s, {}, {{u"edit"_s, u"x"_s}}},
        {"quoted words are one argument",
         u"\"/opt/my editor/bin\" \"a \\\"b\\\" \\$c\""_s,
         {},
         {{u"/opt/my editor/bin"_s, u"a \"b\" $c"_s}}},
        {"no shell: its characters are plain text",
         u"edit $HOME;ls|wc"_s,
         {},
         {{u"edit"_s, u"$HOME;ls|wc"_s}}},
        {"an empty argument stays", u"edit \"\" x"_s, {}, {{u"edit"_s, QString(), u"x"_s}}},
        {"a lone percent sign at the end stays", u"edit 5%"_s, {}, {{u"edit"_s, u"5%"_s}}},
        {"empty line", QString(), {first}, {}},
        {"quotes that do not match", u"edit \"a"_s, {}, {}},
        {"an option is no program", u"%i"_s, {}, {}},
        {"a program without a name", u"\"\" edit"_s, {}, {}},
        {"a code that stands for nothing is no program, and the next word is none either",
         u"%m edit"_s,
         {first},
         {}},
        {"a file is no program", u"%f"_s, {first}, {}},
        {"nor without files", u"%U edit"_s, {}, {}},
        {"nor in another word", u"./%f"_s, {first}, {}},
    };
    for (const Row &row : rows)
        EXPECT_EQ(expandExec(row.exec, fields, row.urls), row.lines) << row.rule;
}

TEST(ExecLine, withoutAnIconTheIconOptionVanishes) {
    EXPECT_EQ(expandExec(u"edit %i"_s, {}, {}), (std::vector<QStringList>{{u"edit"_s}}));
}

TEST(ExecLine, anyNumberOfPercentSignsSurvives) {
    for (int count = 0; count < 20; ++count) {
        const QString percents(count, u'%');
        const auto lines = expandExec(u"edit x"_s + percents, fields, {first});
        ASSERT_EQ(lines.size(), 1U) << count;
        EXPECT_EQ(lines[0][1], u'x' + QString((count + 1) / 2, u'%')) << count;
    }
}

TEST(ExecLine, aLineTakesFilesThatHasACodeForThem) {
    for (const QString &exec : {u"app %f"_s, u"app %F"_s, u"app -- %u"_s, u"app --file=%U"_s})
        EXPECT_TRUE(takesFiles(exec)) << qPrintable(exec);
    for (const QString &exec :
         {u"app"_s, u"app %i %c %k"_s, u"app %%f"_s, u"app \"%f"_s, QString()})
        EXPECT_FALSE(takesFiles(exec)) << qPrintable(exec);
}
