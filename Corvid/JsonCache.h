#pragma once

#include "AtomicFile.h"
#include "Records.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <vector>

namespace corvid {

/** A cache file holds one JSON array of records. Decoding is all or nothing: bytes that are not
    such an array, or one record that is not whole, yield an empty list. */
template <typename Record>
std::vector<Record> decodeRecords(const QByteArray &json) {
    const QJsonArray array = QJsonDocument::fromJson(json).array();
    std::vector<Record> records;
    records.reserve(static_cast<size_t>(array.size()));
    for (const auto &element : array) {
        std::optional<Record> record = fromJson<Record>(element);
        if (!record)
            return {};
        records.push_back(*std::move(record));
    }
    return records;
}

template <typename Record>
QByteArray encodeRecords(const std::vector<Record> &records) {
    QJsonArray array;
    for (const Record &record : records)
        array.append(toJson(record));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

/** Empty when the file is missing, unreadable or damaged. Blocks on the disk; any thread. */
template <typename Record>
std::vector<Record> readCache(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return decodeRecords<Record>(file.readAll());
}

/** A cache that cannot be written is lost, nothing more. Blocks on the disk; any thread. */
template <typename Record>
void writeCache(const QString &path, const std::vector<Record> &records) {
    writeFileAtomically(path, encodeRecords(records));
}

} // namespace corvid
