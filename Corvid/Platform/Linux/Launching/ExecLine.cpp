#include "Platform/Linux/Launching/ExecLine.h"

#include "Platform/Linux/GLibPointers.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList unquoted(const QString &exec) {
    gint count = 0;
    gchar **words = nullptr;
    GErrorHolder error;
    if (!g_shell_parse_argv(exec.toUtf8().constData(), &count, &words, error.out()))
        return {};
    const GStrvPointer owned(words);
    QStringList result;
    for (gint i = 0; i < count; ++i)
        result.append(QString::fromUtf8(words[i]));
    return result;
}

QString uri(const QUrl &url) {
    return QString::fromLatin1(url.toEncoded());
}

// A program that takes paths is of no use for something that has none.
QStringList paths(const QList<QUrl> &urls) {
    QStringList result;
    for (const QUrl &url : urls)
        if (url.isLocalFile())
            result.append(url.toLocalFile());
    return result;
}

QStringList uris(const QList<QUrl> &urls) {
    QStringList result;
    std::transform(urls.begin(), urls.end(), std::back_inserter(result), uri);
    return result;
}

bool hasCode(const QStringList &words, QStringView codes) {
    return std::any_of(words.begin(), words.end(), [codes](const QString &word) {
        for (qsizetype at = 0; (at = word.indexOf(u'%', at)) >= 0 && at + 1 < word.size(); at += 2)
            if (codes.contains(word[at + 1]))
                return true;
        return false;
    });
}

QString codeValue(QChar code, const ExecFields &fields, const QList<QUrl> &urls) {
    switch (code.unicode()) {
    case u'%':
        return u"%"_s;
    case u'c':
        return fields.name;
    case u'k':
        return fields.entryPath;
    case u'f':
    case u'F':
        return paths(urls).join(u' ');
    case u'u':
    case u'U':
        return uris(urls).join(u' ');
    default: // deprecated and unknown codes are removed
        return {};
    }
}

QStringList expandWord(const QString &word, const ExecFields &fields, const QList<QUrl> &urls) {
    // As a word of their own these stand for any number of arguments, none included.
    if (word == "%f"_L1 || word == "%F"_L1)
        return paths(urls);
    if (word == "%u"_L1 || word == "%U"_L1)
        return uris(urls);
    if (word == "%i"_L1)
        return fields.icon.isEmpty() ? QStringList() : QStringList{u"--icon"_s, fields.icon};

    QString result;
    bool onlyCodes = true;
    for (qsizetype i = 0; i < word.size(); ++i) {
        if (word[i] != u'%' || i + 1 == word.size()) {
            result += word[i];
            onlyCodes = false;
            continue;
        }
        ++i;
        result += codeValue(word[i], fields, urls);
    }
    if (onlyCodes && result.isEmpty() && !word.isEmpty())
        return {};
    return {result};
}

QStringList expandWords(const QStringList &words, const ExecFields &fields,
                        const QList<QUrl> &urls) {
    QStringList result;
    for (const QString &word : words)
        result += expandWord(word, fields, urls);
    return result;
}

} // namespace

std::vector<QStringList> expandExec(const QString &exec, const ExecFields &fields,
                                    const QList<QUrl> &urls) {
    const QStringList words = unquoted(exec);
    // What is opened must not become the program; nor must the second word, where the first one
    // stands for nothing.
    if (words.isEmpty() || hasCode({words.first()}, u"FUfuick") ||
        expandWord(words.first(), fields, {}).value(0).isEmpty())
        return {};
    if (urls.isEmpty() || hasCode(words, u"FU"))
        return {expandWords(words, fields, urls)};

    const bool takesFile = hasCode(words, u"fu");
    std::vector<QStringList> result;
    for (const QUrl &url : urls) {
        QStringList line = expandWords(words, fields, {url});
        if (!takesFile)
            line.append(url.isLocalFile() ? url.toLocalFile() : uri(url));
        result.push_back(std::move(line));
    }
    return result;
}

} // namespace corvid
