#pragma once

#include "Base/AtomicFile.h"
#include "Base/Json.h"
#include "Base/Records.h"
#include "Base/RegularFile.h"

#include <optional>
#include <vector>

namespace corvid {

/** A cache file holds one JSON array of records. Decoding is all or nothing: bytes that are not
    such an array, or one record that is not whole, yield an empty list. */
template <typename Record>
std::vector<Record> decodeRecords(const QByteArray &bytes) {
    using Records = std::vector<Record>;
    return json::list<Records>(json::fromFile(bytes).array(), fromJson<Record>).value_or(Records());
}

template <typename Record>
QByteArray encodeRecords(const std::vector<Record> &records) {
    QJsonArray array;
    for (const Record &record : records)
        array.append(toJson(record));
    return json::toFile(QJsonDocument(array), QJsonDocument::Compact);
}

/** Empty when there is no file, and when it is unreadable, damaged or unreasonably large. Blocks on
    the disk; any thread. */
template <typename Record>
std::vector<Record> readCache(const std::optional<OpenedFile> &file) {
    constexpr qint64 most = 64 * 1024 * 1024; // 300,000 projects need 40 MB
    if (!file || file->size() > most)
        return {};
    return decodeRecords<Record>(file->read().value_or(QByteArray()));
}

/** A cache that cannot be written is lost, nothing more. Blocks on the disk; any thread. */
template <typename Record>
void writeCache(const QString &path, const std::vector<Record> &records) {
    writeFileAtomically(path, encodeRecords(records));
}

} // namespace corvid
