#include "Search/Query.h"

#include "RoleCatalog.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using Kind = Query::Kind;

namespace {

struct QueryRow {
    const char *rule;
    const char16_t *typed;
    Kind kind;
    const char16_t *text;
    const char16_t *object = u"";
};

class QueryKind : public ::testing::TestWithParam<QueryRow> {};

const QueryRow queryRows[] = {
    {"nothing", u"", Kind::Empty, u""},
    {"blanksAreNothing", u" \t ", Kind::Empty, u""},
    {"aiAloneAsksNothing", u"ai", Kind::Ask, u"ai"},
    {"blanksBehindAiAreNoQuestion", u" AI  ", Kind::Ask, u"AI"},
    {"aQuestion", u"ai why", Kind::Ask, u"ai why", u"why"},
    {"blanksInFrontOfAQuestionStay", u"  Ai  Why not ", Kind::Ask, u"Ai  Why not", u" Why not"},
    {"anInQueryBehindAiIsAQuestion", u"ai web in zed", Kind::Ask, u"ai web in zed", u"web in zed"},
    {"aCalculationBehindAiIsAQuestion", u"ai 2+3", Kind::Ask, u"ai 2+3", u"2+3"},
    {"aTabDoesNotEndAi", u"ai\twhy", Kind::Search, u"ai\twhy"},
    {"aWordThatBeginsWithAi", u"air", Kind::Search, u"air"},
    {"theLastProject", u"Last Project", Kind::LastProject, u"Last Project"},
    {"openTheLastProject", u" open last project ", Kind::LastProject, u"open last project"},
    {"moreThanTheLastProject", u"last projects", Kind::Search, u"last projects"},
    {"inAnEditor", u" Web in Zed ", Kind::In, u"Web in Zed"},
    {"theLastProjectInAnEditor", u"last project in zed", Kind::In, u"last project in zed"},
    {"aCalculationInAnEditor", u"1+1 in zed", Kind::In, u"1+1 in zed"},
    {"aCalculation", u" 2+3 ", Kind::Calculation, u"2+3", u"5"},
    {"aCalculationBeforeARole", u"3-3", Kind::Calculation, u"3-3", u"0"},
    {"aRoleByItsLabel", u" CODE Editor ", Kind::Role, u"CODE Editor", u"code-editor"},
    {"aRoleByAnAlias", u"editor", Kind::Role, u"editor", u"code-editor"},
    {"partOfARole", u"edito", Kind::Search, u"edito"},
    {"anythingElse", u" Frob  it ", Kind::Search, u"Frob  it"},
};

INSTANTIATE_TEST_SUITE_P(Query, QueryKind, ::testing::ValuesIn(queryRows),
                         [](const auto &row) { return row.param.rule; });

} // namespace

TEST_P(QueryKind, isDecidedByTheText) {
    const RoleCatalog roles(
        {{{u"code-editor"_s, {u"Code Editor"_s, {u"editor"_s, u"3-3"_s}}}}, {}});
    const QueryRow &row = GetParam();
    const Query query = parseQuery(QString::fromUtf16(row.typed), roles);
    EXPECT_EQ(query.kind, row.kind);
    EXPECT_EQ(query.text, QString::fromUtf16(row.text));
    EXPECT_EQ(query.object, QString::fromUtf16(row.object));
    if (row.kind == Kind::In) {
        EXPECT_EQ(query.in, SearchEngine::parseInQuery(query.text));
    }
}
