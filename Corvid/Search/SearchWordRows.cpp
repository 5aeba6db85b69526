#include "Search/SearchWordRows.h"

#include "Base/Settings.h"
#include "Base/Text.h"

#include <QUrl>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QString addressOfSearch(const QString &address, const QString &text) {
    // Allowed in a URL's query besides the unreserved characters.
    static const QByteArray allowed = "!$&'()*+,;=:@/?";
    return QString(address).replace(settings::searchTextMark,
                                    QString::fromLatin1(QUrl::toPercentEncoding(text, allowed)));
}

Rows searchWordRows(const Query &query, const RowSources &from) {
    const auto blank = std::ranges::find_if(query.text, [](QChar c) { return c.isSpace(); });
    if (blank == query.text.end())
        return {};
    const qsizetype wordLength = blank - query.text.begin();
    const std::vector<settings::SearchWord> words = settings::searchWords(from.defaults);
    const auto found = std::ranges::find(words, query.text.first(wordLength).toLower(),
                                         &settings::SearchWord::word);
    if (found == words.end())
        return {};
    const QString text = query.text.sliced(wordLength).trimmed();
    return {{u"search|"_s + found->word, nullptr,
             u"Search %1 for “%2”"_s.arg(displayLine(found->name), text),
             u"Opens in your default browser"_s, u"Web"_s,
             OpenURL{addressOfSearch(found->address, text)}}};
}

} // namespace corvid
