// catalog.json and projects.json: all records or none, read back as written, and fit for searching.
#include "Catalog/JsonCache.h"
#include "FuzzInput.h"
#include "Search/SearchIndex.h"

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

namespace {

template <typename Record>
std::vector<Record> checkedRecords(const QByteArray &json) {
    std::vector<Record> records = decodeRecords<Record>(json);
    const auto stored = static_cast<std::size_t>(QJsonDocument::fromJson(json).array().size());
    require(records.empty() || records.size() == stored, "all records or none");
    // What holds half a surrogate pair, as an escape sequence can, has no bytes to be written.
    const QByteArray written = encodeRecords(records);
    const std::vector<Record> again = decodeRecords<Record>(written);
    require(again.size() == records.size(), "as many records as were written");
    require(again == records || encodeRecords(again) == written, "read back as written");
    return records;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    // Qt's reader drops a mark of the byte order wherever a piece of text begins with it.
    if (bytes.contains("\xef\xbb\xbf") || bytes.toLower().contains("ufeff"))
        return 0;
    const std::vector<AppEntry> apps = checkedRecords<AppEntry>(bytes);
    const std::vector<ProjectEntry> projects = checkedRecords<ProjectEntry>(bytes);

    const PreparedQuery query(u"e"_s);
    const SearchIndex appIndex(apps);
    for (std::size_t i = 0; i < apps.size(); ++i) {
        const qint64 score = appIndex.score(query, i);
        require(score >= 0 && score <= 1000, "a score without launches is from 0 to 1000");
        require(appIndex.indexOf(usageKey(apps[i])).has_value(), "found by its usage key");
    }
    const SearchIndex projectIndex(projects);
    for (std::size_t i = 0; i < projects.size(); ++i)
        require(projectIndex.score(query, i) >= 0, "a project's score is not negative");
    return 0;
}
