#include "Catalog/SpokenNames.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Each is behind entries of many: of one's own applications, pages or panels.
bool runsWhatOthersMade(const QString &program) {
    static const QStringList programs{
        u"brave"_s,        u"chromium"_s,       u"exo-open"_s,       u"firefox"_s,
        u"gapplication"_s, u"google-chrome"_s,  u"kcmshell"_s,       u"kinfocenter"_s,
        u"libreoffice"_s,  u"lutris"_s,         u"microsoft-edge"_s, u"soffice"_s,
        u"steam"_s,        u"systemsettings"_s, u"vivaldi"_s,        u"xdg-open"_s};
    return programs.contains(program);
}

// What packages append to the name that a person knows.
bool isAppendix(const QString &part) {
    static const QStringList parts{u"app"_s,    u"bin"_s,    u"client"_s, u"desktop"_s,
                                   u"gtk"_s,    u"gui"_s,    u"qt"_s,     u"launcher"_s,
                                   u"pkexec"_s, u"stable"_s, u"wrapper"_s};
    return parts.contains(part);
}

bool isPanel(const QString &part) {
    static const QStringList parts{u"config"_s, u"preferences"_s, u"properties"_s, u"settings"_s};
    return parts.contains(part);
}

bool isWord(const QString &part) {
    return part.size() >= 2 && part[0].isLetter() &&
           std::all_of(part.begin(), part.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

bool hasNumber(const QString &part) {
    return std::any_of(part.begin(), part.end(), [](QChar c) { return c.isNumber(); });
}

} // namespace

QString spokenProgram(const QString &program, const QString &entryId) {
    static const QRegularExpression version(u"[-_.]?[0-9][0-9.]*$"_s);
    static const QRegularExpression joint(u"[-_ ]"_s);
    QString name = program;
    QStringList parts = name.remove(version).split(joint);
    while (parts.size() > 1 && isAppendix(parts.last().toLower()))
        parts.removeLast();
    const QString plain = parts.join(u'-').toLower();
    if (runsWhatOthersMade(plain) && !entryId.contains(plain, Qt::CaseInsensitive))
        return {};
    if (parts.size() > 2 || !std::all_of(parts.begin(), parts.end(), isWord))
        return {};
    if (parts.size() == 2 &&
        (isPanel(parts.last().toLower()) || hasNumber(parts[0]) || hasNumber(parts[1])))
        return {};
    return parts.join(u' ');
}

QString splitCamelCase(const QString &name) {
    // A capital after a small letter.
    static const QRegularExpression edge(u"(?<=\\p{Ll})(?=\\p{Lu})"_s);
    const QStringList words = name.split(edge);
    if (words.size() < 2 || name.contains(u' ') ||
        std::any_of(words.begin(), words.end(),
                    [](const QString &word) { return word.size() < 2; }))
        return {};
    return words.join(u' ');
}

QString initialsOf(const QString &name) {
    static const QRegularExpression gap(u"[\\s&]+"_s);
    QString initials;
    for (const QString &word : name.split(gap, Qt::SkipEmptyParts))
        if (word[0].isLetter())
            initials += word[0].toLower();
    constexpr qsizetype most = 5; // longer names are sentences
    return initials.size() >= 2 && initials.size() <= most ? initials : QString();
}

} // namespace corvid
