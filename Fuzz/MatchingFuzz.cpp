// Two ways to the same score: of an entry in a prepared list, and by the rules written down
// plainly.
#include "FuzzInput.h"
#include "Search/SearchIndex.h"
#include "SearchEngine.h"

#include <QTextBoundaryFinder>

#include <algorithm>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

namespace {

QStringList charactersOf(const QString &text) {
    const QString whole = text.toLower().normalized(QString::NormalizationForm_C);
    QStringList characters;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, whole);
    for (qsizetype start = 0; finder.toNextBoundary() > 0; start = finder.position())
        characters.append(whole.sliced(start, finder.position() - start));
    return characters;
}

std::optional<qint64> plainFuzzy(const QStringList &query, const QStringList &target) {
    if (query.isEmpty() || target.size() < query.size())
        return std::nullopt;
    qint64 score = std::max<qint64>(0, 30 - (target.size() - query.size()));
    qsizetype next = 0;
    qint64 run = 0;
    qsizetype last = -2;
    for (qsizetype j = 0; j < target.size(); ++j) {
        if (next == query.size() || target[j] != query[next])
            continue;
        run = last == j - 1 ? run + 1 : 1;
        score += 1 + 2 * run;
        last = j;
        ++next;
    }
    return next == query.size() ? std::optional(score) : std::nullopt;
}

qint64 plainScore(const QStringList &query, const QStringList &text,
                  const SearchEngine::Tiers &tiers) {
    if (text == query)
        return tiers.equal;
    if (text.mid(0, query.size()) == query)
        return tiers.prefix;
    for (qsizetype from = 0; tiers.contains > 0 && from + query.size() <= text.size(); ++from)
        if (text.mid(from, query.size()) == query)
            return tiers.contains;
    const std::optional<qint64> fuzzy = plainFuzzy(query, text);
    return fuzzy ? tiers.fuzzy + *fuzzy : 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QStringList lines = fuzz::linesOf(data, size);
    const QString &query = lines[0];
    const AppEntry app{lines.value(1), u"id"_s, u"/app"_s, {}, lines.mid(2), {}};
    const ProjectEntry project{lines.value(1), u"/project"_s, {}};

    // Behind others, so that a mistake about where a name begins shows.
    const SearchIndex apps(std::vector{AppEntry{u"é"_s, {}, u"/1"_s, {}, {u"x"_s}, {}}, app, app});
    const SearchIndex projects(std::vector{ProjectEntry{u"🇩🇪"_s, u"/2"_s, {}}, project, project});
    const PreparedQuery prepared(query);
    const QStringList wanted = charactersOf(query.trimmed());

    qint64 best = plainScore(wanted, charactersOf(app.name), SearchEngine::appNameTiers);
    for (const QString &alias : app.aliases)
        best = std::max(best, plainScore(wanted, charactersOf(alias), SearchEngine::appAliasTiers));
    require(apps.score(prepared, 1) == best && apps.score(prepared, 2) == best,
            "an application scores by the rules");

    const qint64 projectScore =
        plainScore(wanted, charactersOf(project.name), SearchEngine::projectNameTiers);
    require(projects.score(prepared, 1) == projectScore &&
                projects.score(prepared, 2) == projectScore,
            "a project scores by the rules");

    require(SearchEngine::fuzzy(query, app.name) ==
                plainFuzzy(charactersOf(query), charactersOf(app.name)),
            "a subsequence scores by the rules");
    return 0;
}
