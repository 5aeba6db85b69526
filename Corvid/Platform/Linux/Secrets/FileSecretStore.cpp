#include "Platform/Linux/Secrets/FileSecretStore.h"

#include "Base/AtomicFile.h"
#include "Base/FileDescriptor.h"
#include "Base/Locations.h"
#include "Base/Wipe.h"
#include "Platform/SecretStore.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <sodium.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// The file: this line, a nonce, and the encrypted JSON {"<service>": {"<account>": "<secret>"}}.
const QByteArray magic = "Corvid secrets 1\n";
constexpr qsizetype nonceSize = crypto_secretbox_NONCEBYTES;
constexpr qsizetype keySize = crypto_secretbox_KEYBYTES;
constexpr qsizetype macSize = crypto_secretbox_MACBYTES;

unsigned char *bytes(QByteArray &array) {
    return reinterpret_cast<unsigned char *>(array.data());
}
const unsigned char *bytes(const QByteArray &array) {
    return reinterpret_cast<const unsigned char *>(array.constData());
}

// Opens what is ours alone from then on, a file or a folder. Not valid where that is impossible;
// errno is then ELOOP or ENXIO when what is there is of another kind or belongs to somebody else.
FileDescriptor openPrivately(const QString &path, mode_t kind) {
    constexpr mode_t forOthers = S_IRWXG | S_IRWXO;
    // A pipe would keep us waiting for somebody to write into it.
    FileDescriptor file(
        open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!file.valid() || fstat(file.number(), &status) != 0)
        return FileDescriptor();
    const bool ours = (status.st_mode & S_IFMT) == kind && status.st_uid == geteuid();
    if (ours &&
        ((status.st_mode & forOthers) == 0 || fchmod(file.number(), status.st_mode & S_IRWXU) == 0))
        return file;
    errno = ELOOP;
    return FileDescriptor();
}

struct PrivateFile {
    bool present = false;
    QByteArray bytes; ///< none when what is present is no file of ours
};

// Absent when it cannot be read now, but perhaps later.
std::optional<PrivateFile> readPrivately(const QString &path) {
    constexpr qint64 most = 1 << 20;
    const FileDescriptor descriptor = openPrivately(path, S_IFREG);
    if (!descriptor.valid()) {
        const bool present = errno == ELOOP || errno == ENXIO;
        return present || errno == ENOENT ? std::optional(PrivateFile{present, {}}) : std::nullopt;
    }
    QFile file;
    if (!file.open(descriptor.number(), QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    PrivateFile result{true, file.read(most)};
    return file.error() == QFileDevice::NoError ? std::optional(std::move(result)) : std::nullopt;
}

bool makePrivateFolder(const QString &folder) {
    return makePrivateFolders(folder) && openPrivately(folder, S_IFDIR).valid();
}

QByteArray encrypt(const QJsonObject &table, const QByteArray &key) {
    QByteArray plainText = QJsonDocument(table).toJson(QJsonDocument::Compact);
    QByteArray nonce(nonceSize, Qt::Uninitialized);
    randombytes_buf(nonce.data(), static_cast<std::size_t>(nonceSize));
    QByteArray box(plainText.size() + macSize, Qt::Uninitialized);
    crypto_secretbox_easy(bytes(box), bytes(plainText),
                          static_cast<unsigned long long>(plainText.size()), bytes(nonce),
                          bytes(key));
    wipe(plainText);
    return magic + nonce + box;
}

std::optional<QJsonObject> decrypt(const QByteArray &file, const QByteArray &key) {
    const qsizetype start = magic.size() + nonceSize;
    if (key.size() != keySize || !file.startsWith(magic) || file.size() < start + macSize)
        return std::nullopt;
    QByteArray plainText(file.size() - start - macSize, Qt::Uninitialized);
    if (crypto_secretbox_open_easy(bytes(plainText), bytes(file) + start,
                                   static_cast<unsigned long long>(file.size() - start),
                                   bytes(file) + magic.size(), bytes(key)) != 0)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(plainText);
    wipe(plainText);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

} // namespace

struct FileSecretStore::Content {
    QJsonObject table; ///< empty when there is none that can be read
    QByteArray key;    ///< empty when there is no usable one
    bool boxIsUseless = false;
    bool keyIsUseless = false;
};

FileSecretStore::FileSecretStore()
    : boxFolder_(locations::applicationSupport() + "/Corvid/Keychain"_L1),
      keyFolder_(locations::state() + "/Corvid"_L1), boxFile_(boxFolder_ + "/secrets"_L1),
      keyFile_(keyFolder_ + "/keychain.key"_L1) {
    if (sodium_init() < 0)
        qFatal("libsodium has no source of random numbers");
}

std::optional<QString> FileSecretStore::get(const QString &account) const {
    const FileDescriptor folder = openPrivately(boxFolder_, S_IFDIR);
    if (!folder.valid())
        return std::nullopt;
    // Without the lock the two files may be of different moments, but each is whole.
    lockFile(folder.number(), LOCK_SH);
    const QJsonObject table = read().value_or(Content()).table;
    const QJsonValue secret = table.value(secretService).toObject().value(account);
    return secret.isString() ? std::optional(secret.toString()) : std::nullopt;
}

bool FileSecretStore::set(const QString &account, const QString &secret) {
    return makePrivateFolder(boxFolder_) && makePrivateFolder(keyFolder_) &&
           change(account, secret);
}

void FileSecretStore::remove(const QString &account) {
    change(account, QJsonValue::Undefined);
}

bool FileSecretStore::change(const QString &account, const QJsonValue &secret) {
    const FileDescriptor folder = openPrivately(boxFolder_, S_IFDIR);
    if (!folder.valid() || !lockFile(folder.number(), LOCK_EX))
        return false;
    const std::optional<Content> present = read();
    // Writing would destroy what we cannot read.
    if (!present)
        return false;
    QJsonObject table = present->table;
    QJsonObject secrets = table.value(secretService).toObject();
    if (secret.isUndefined() && !secrets.contains(account))
        return true;
    secrets.insert(account, secret); // removes it when undefined
    table.insert(secretService, secrets.isEmpty() ? QJsonValue(QJsonValue::Undefined) : secrets);
    if (!table.isEmpty())
        return write(*present, table);
    QFile::remove(boxFile_);
    QFile::remove(keyFile_);
    return true;
}

std::optional<FileSecretStore::Content> FileSecretStore::read() const {
    const std::optional<PrivateFile> box = readPrivately(boxFile_);
    const std::optional<PrivateFile> key = readPrivately(keyFile_);
    if (!box || !key)
        return std::nullopt;
    Content content;
    if (key->bytes.size() == keySize)
        content.key = key->bytes;
    else
        content.keyIsUseless = key->present;
    if (std::optional<QJsonObject> table = decrypt(box->bytes, content.key))
        content.table = *std::move(table);
    else
        content.boxIsUseless = box->present;
    return content;
}

bool FileSecretStore::write(const Content &present, const QJsonObject &table) const {
    if ((present.boxIsUseless && !keepAside(boxFile_, boxFile_)) ||
        (present.keyIsUseless && !keepAside(keyFile_, keyFile_)))
        return false;
    QByteArray key = present.key;
    if (key.isEmpty()) {
        key = QByteArray(keySize, Qt::Uninitialized);
        crypto_secretbox_keygen(bytes(key));
        // The key comes first: without it, the secret would be lost.
        if (!writeFileAtomically(keyFile_, key))
            return false;
    }
    return writeFileAtomically(boxFile_, encrypt(table, key));
}

} // namespace corvid
