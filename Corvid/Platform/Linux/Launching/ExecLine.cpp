#include "Platform/Linux/Launching/ExecLine.h"

#include "Platform/Linux/GLibPointers.h"

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QStringList execWords(const QString &exec) {
    gint count = 0;
    gchar **words = nullptr;
    if (!g_shell_parse_argv(exec.toUtf8().constData(), &count, &words, nullptr))
        return {};
    const GStrvPointer owned(words);
    QStringList result;
    for (gint i = 0; i < count; ++i)
        result.append(QString::fromUtf8(words[i]));
    return result;
}

namespace {

bool hasCode(const QStringList &words, QStringView codes) {
    return std::any_of(words.begin(), words.end(), [codes](const QString &word) {
        for (qsizetype at = 0; (at = word.indexOf(u'%', at)) >= 0 && at + 1 < word.size(); at += 2)
            if (codes.contains(word[at + 1]))
                return true;
        return false;
    });
}

/** What a code stands for: arguments, where it is a word of its own. */
QStringList codeValues(QChar code, const LaunchedEntry &entry, const QList<QUrl> &urls) {
    QStringList values;
    switch (code.unicode()) {
    case u'%':
        return {u"%"_s};
    case u'c':
        return {entry.name};
    case u'k':
        return {entry.path};
    case u'i':
        return entry.icon.isEmpty() ? QStringList() : QStringList{u"--icon"_s, entry.icon};
    case u'f':
    case u'F': // a program that takes paths is of no use for something that has none
        for (const QUrl &url : urls)
            if (url.isLocalFile())
                values.append(url.toLocalFile());
        return values;
    case u'u':
    case u'U':
        for (const QUrl &url : urls)
            values.append(QString::fromLatin1(url.toEncoded()));
        return values;
    default: // deprecated and unknown codes are removed
        return {};
    }
}

QStringList expandWord(const QString &word, const LaunchedEntry &entry, const QList<QUrl> &urls) {
    if (word.size() == 2 && word[0] == u'%') {
        const QStringList values = codeValues(word[1], entry, urls);
        return values == QStringList{QString()} ? QStringList() : values;
    }
    QString result;
    bool onlyCodes = !word.isEmpty();
    for (qsizetype i = 0; i < word.size(); ++i) {
        if (word[i] != u'%' || i + 1 == word.size()) {
            result += word[i];
            onlyCodes = false;
        } else if (word[++i] != u'i') { // an option is a word of its own
            result += codeValues(word[i], entry, urls).join(u' ');
        }
    }
    return onlyCodes && result.isEmpty() ? QStringList() : QStringList{result};
}

} // namespace

QString pathOrAddress(const QUrl &url) {
    return url.isLocalFile() ? url.toLocalFile() : QString::fromLatin1(url.toEncoded());
}

bool takesFiles(const QString &exec) {
    return hasCode(execWords(exec), u"FUfu");
}

std::vector<QStringList> expandExec(const QString &exec, const LaunchedEntry &entry,
                                    const QList<QUrl> &urls) {
    const QStringList words = execWords(exec);
    // The first word must name a program by itself: neither a file to open nor, when it expands to
    // nothing, the second word may take its place.
    if (words.isEmpty() || hasCode({words.first()}, u"FUfuick") ||
        expandWord(words.first(), entry, {}).value(0).isEmpty())
        return {};

    const auto lineFor = [&](const QList<QUrl> &some) {
        QStringList line;
        for (const QString &word : words)
            line += expandWord(word, entry, some);
        return line;
    };
    if (urls.isEmpty() || hasCode(words, u"FU"))
        return {lineFor(urls)};
    std::vector<QStringList> lines;
    for (const QUrl &url : urls) {
        QStringList &line = lines.emplace_back(lineFor({url}));
        if (!hasCode(words, u"fu"))
            line.append(pathOrAddress(url));
    }
    return lines;
}

} // namespace corvid
