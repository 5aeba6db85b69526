#pragma once

#include "Base/AtomicFile.h"
#include "Base/Json.h"
#include "Base/Records.h"
#include "Base/RegularFile.h"

#include <QJsonDocument>

#include <vector>

namespace corvid {

/** A cache file holds one JSON array of records. Decoding is all or nothing: bytes that are not
    such an array, or one record that is not whole, yield an empty list. */
template <typename Record>
std::vector<Record> decodeRecords(const QByteArray &bytes) {
    using Records = std::vector<Record>;
    return json::list<Records>(QJsonDocument::fromJson(bytes).array(), fromJson<Record>)
        .value_or(Records());
}

template <typename Record>
QByteArray encodeRecords(const std::vector<Record> &records) {
    QJsonArray array;
    for (const Record &record : records)
        array.append(toJson(record));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

/** Empty when the file is missing, unreadable, damaged or unreasonably large. Blocks on the disk;
    any thread. */
template <typename Record>
std::vector<Record> readCache(const QString &path) {
    constexpr qint64 most = 256 * 1024 * 1024; // some hundred times what anybody's holds
    return decodeRecords<Record>(readRegularFile(path, most).value_or(QByteArray()));
}

/** A cache that cannot be written is lost, nothing more. Blocks on the disk; any thread. */
template <typename Record>
void writeCache(const QString &path, const std::vector<Record> &records) {
    writeFileAtomically(path, encodeRecords(records));
}

} // namespace corvid
