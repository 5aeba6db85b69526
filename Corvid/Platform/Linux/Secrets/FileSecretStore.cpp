#include "Platform/Linux/Secrets/FileSecretStore.h"

#include "Base/AtomicFile.h"
#include "Base/Locations.h"
#include "Platform/SecretStore.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <sodium.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <thread>

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
constexpr off_t largestFile = 1 << 20;
constexpr mode_t forOthers = S_IRWXG | S_IRWXO;
// A process that was stopped while it holds the lock must not hold us, too.
constexpr auto lockPatience = std::chrono::seconds(2);

unsigned char *bytes(QByteArray &array) {
    return reinterpret_cast<unsigned char *>(array.data());
}
const unsigned char *bytes(const QByteArray &array) {
    return reinterpret_cast<const unsigned char *>(array.constData());
}

void wipe(QByteArray &array) {
    sodium_memzero(array.data(), static_cast<std::size_t>(array.size()));
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    operator int() const { return number_; }

private:
    int number_;
};

// Opens what is ours alone from then on; negative, with errno set, where that is impossible.
int openPrivately(const QString &path, mode_t kind, int flags) {
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | flags);
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0)
        return -1;
    const bool ours = (status.st_mode & S_IFMT) == kind && status.st_uid == geteuid();
    if (ours &&
        ((status.st_mode & forOthers) == 0 || fchmod(descriptor, status.st_mode & S_IRWXU) == 0))
        return descriptor;
    close(descriptor);
    errno = ELOOP;
    return -1;
}

struct FileContent {
    enum class State { Absent, Present, NotOurs, Unreadable };
    State state = State::Absent;
    QByteArray bytes;
};

FileContent readPrivately(const QString &path) {
    // A pipe would keep us waiting for somebody to write into it.
    const Descriptor descriptor(openPrivately(path, S_IFREG, O_NONBLOCK));
    if (descriptor < 0) {
        switch (errno) {
        case ENOENT:
            return {};
        case ELOOP:
        case ENXIO: // a socket, a device
            return {FileContent::State::NotOurs, {}};
        default:
            return {FileContent::State::Unreadable, {}};
        }
    }
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {FileContent::State::Unreadable, {}};
    QByteArray content = file.read(largestFile);
    if (file.error() != QFileDevice::NoError)
        return {FileContent::State::Unreadable, {}};
    return {FileContent::State::Present, std::move(content)};
}

bool makePrivateFolder(const QString &folder) {
    return makePrivateFolders(folder) && Descriptor(openPrivately(folder, S_IFDIR, 0)) >= 0;
}

bool exists(const QByteArray &path) {
    struct stat status = {};
    return lstat(path.constData(), &status) == 0;
}

// Of a symbolic link, the link itself goes.
bool keepAside(const QString &path) {
    const QByteArray present = QFile::encodeName(path);
    const QByteArray name =
        present + ".damaged-" +
        QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss'Z'"_s).toLatin1();
    QByteArray free = name;
    for (int number = 2; exists(free); ++number)
        free = name + '-' + QByteArray::number(number);
    return std::rename(present.constData(), free.constData()) == 0;
}

QByteArray encrypt(const QByteArray &plainText, const QByteArray &key) {
    QByteArray nonce(nonceSize, Qt::Uninitialized);
    randombytes_buf(nonce.data(), static_cast<std::size_t>(nonceSize));
    QByteArray box(plainText.size() + macSize, Qt::Uninitialized);
    crypto_secretbox_easy(bytes(box), bytes(plainText),
                          static_cast<unsigned long long>(plainText.size()), bytes(nonce),
                          bytes(key));
    return magic + nonce + box;
}

std::optional<QByteArray> decrypt(const QByteArray &file, const QByteArray &key) {
    const qsizetype start = magic.size() + nonceSize;
    if (!file.startsWith(magic) || file.size() < start + macSize)
        return std::nullopt;
    QByteArray plainText(file.size() - start - macSize, Qt::Uninitialized);
    if (crypto_secretbox_open_easy(bytes(plainText), bytes(file) + start,
                                   static_cast<unsigned long long>(file.size() - start),
                                   bytes(file) + magic.size(), bytes(key)) != 0)
        return std::nullopt;
    return plainText;
}

} // namespace

/** Held by one process at a time for a change, by any number for a look. Where the folder does
    not exist or the lock cannot be had in time, nothing is held. */
class FileSecretStore::Lock {
public:
    Lock(const QString &folder, int operation) : folder_(openPrivately(folder, S_IFDIR, 0)) {
        constexpr auto pause = std::chrono::milliseconds(5);
        const auto deadline = std::chrono::steady_clock::now() + lockPatience;
        while (folder_ >= 0 && !held_ && std::chrono::steady_clock::now() < deadline) {
            held_ = flock(folder_, operation | LOCK_NB) == 0;
            if (!held_)
                std::this_thread::sleep_for(pause);
        }
    }
    bool folderIsOurs() const { return folder_ >= 0; }
    bool held() const { return held_; }

private:
    Descriptor folder_;
    bool held_ = false;
};

struct FileSecretStore::Content {
    QJsonObject table;
    QByteArray key; ///< empty when there is no usable one
    bool unreadable = false;
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
    const Lock lock(boxFolder_, LOCK_SH);
    if (!lock.folderIsOurs())
        return std::nullopt;
    const QJsonValue secret = read().table.value(secretService).toObject().value(account);
    if (!secret.isString())
        return std::nullopt;
    return secret.toString();
}

bool FileSecretStore::set(const QString &account, const QString &secret) {
    if (!makePrivateFolder(boxFolder_) || !makePrivateFolder(keyFolder_))
        return false;
    const Lock lock(boxFolder_, LOCK_EX);
    const Content present = read();
    // What we cannot read we would destroy.
    if (!lock.held() || present.unreadable)
        return false;
    QJsonObject table = present.table;
    QJsonObject secrets = table.value(secretService).toObject();
    secrets.insert(account, secret);
    table.insert(secretService, secrets);
    QByteArray plainText = QJsonDocument(table).toJson(QJsonDocument::Compact);
    const bool written = write(present, plainText);
    wipe(plainText);
    return written;
}

void FileSecretStore::remove(const QString &account) {
    const Lock lock(boxFolder_, LOCK_EX);
    if (!lock.held())
        return;
    const Content present = read();
    QJsonObject table = present.table;
    QJsonObject secrets = table.value(secretService).toObject();
    if (!secrets.contains(account))
        return;
    secrets.remove(account);
    if (secrets.isEmpty())
        table.remove(secretService);
    else
        table.insert(secretService, secrets);
    if (table.isEmpty()) {
        QFile::remove(boxFile_);
        QFile::remove(keyFile_);
        return;
    }
    write(present, QJsonDocument(table).toJson(QJsonDocument::Compact));
}

FileSecretStore::Content FileSecretStore::read() const {
    const FileContent box = readPrivately(boxFile_);
    const FileContent key = readPrivately(keyFile_);
    Content content;
    if (box.state == FileContent::State::Unreadable ||
        key.state == FileContent::State::Unreadable) {
        content.unreadable = true;
        return content;
    }
    if (key.bytes.size() == keySize)
        content.key = key.bytes;
    else
        content.keyIsUseless = key.state != FileContent::State::Absent;
    if (box.state == FileContent::State::Absent)
        return content;
    content.boxIsUseless = true;
    if (content.key.isEmpty())
        return content;
    std::optional<QByteArray> plainText = decrypt(box.bytes, content.key);
    if (!plainText)
        return content;
    const QJsonDocument document = QJsonDocument::fromJson(*plainText);
    wipe(*plainText);
    if (!document.isObject())
        return content;
    content.boxIsUseless = false;
    content.table = document.object();
    return content;
}

bool FileSecretStore::write(const Content &present, const QByteArray &plainText) const {
    if ((present.boxIsUseless && !keepAside(boxFile_)) ||
        (present.keyIsUseless && !keepAside(keyFile_)))
        return false;
    QByteArray key = present.key;
    if (key.isEmpty()) {
        key = QByteArray(keySize, Qt::Uninitialized);
        crypto_secretbox_keygen(bytes(key));
        // First the key: a secret that nothing opens would be lost.
        if (!writeFileAtomically(keyFile_, key))
            return false;
    }
    return writeFileAtomically(boxFile_, encrypt(plainText, key));
}

} // namespace corvid
