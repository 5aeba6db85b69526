#pragma once

#include <QString>

#include <optional>

class QJsonObject;
class QJsonValue;

namespace corvid {

/**
 * Our own store for desktops without a Secret Service: one encrypted file in Application Support,
 * and the random key that opens it in the folder for state, so that a copy of either folder alone
 * (a backup, a synchronized folder) gives nothing away. Whoever may read both files can read the
 * secrets.
 *
 * Both files are 0600, each in a folder of its own (0700); other modes are corrected, symbolic
 * links and what belongs to somebody else are not followed. Any number of processes; blocks on
 * the disk, so: background only. A damaged file reads as empty and is kept aside
 * ("….damaged-<time>") before the first write replaces it.
 */
class FileSecretStore {
public:
    /** In the user's standard folders. */
    FileSecretStore();

    std::optional<QString> get(const QString &account) const;

    /** False when it could not be written, or is too large to be read back (the whole file may have
        1 MiB); what was stored before still is. */
    bool set(const QString &account, const QString &secret);

    /** Leaves no file behind when nothing else is stored. */
    void remove(const QString &account);

private:
    struct Content;

    /** Undefined removes it. */
    bool change(const QString &account, const QJsonValue &secret);
    std::optional<Content> read() const; ///< absent when it cannot be read now
    bool write(const Content &present, const QJsonObject &table) const;

    QString boxFolder_;
    QString keyFolder_;
    QString boxFile_;
    QString keyFile_;
};

} // namespace corvid
