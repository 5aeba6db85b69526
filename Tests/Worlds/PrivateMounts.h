#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace corvid::test {

/** From here on, what this thread, its later threads and its children mount is seen by no other
    process. False where that is not permitted; it takes an administrator. */
inline bool enterPrivateMounts() {
    return unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/** Something mounted on a folder; gone when destroyed. Needs private mounts. */
class Mounted {
public:
    Mounted(const Mounted &) = delete;
    Mounted &operator=(const Mounted &) = delete;
    virtual ~Mounted() {
        if (mounted_)
            umount2(folder_.constData(), MNT_DETACH);
    }
    bool mounted() const { return mounted_; }

protected:
    explicit Mounted(const QString &folder) : folder_(QFile::encodeName(folder)) {}

    const QByteArray folder_;
    bool mounted_ = false;
};

/** An empty disk of so many KiB. */
class SmallDisk : public Mounted {
public:
    SmallDisk(const QString &folder, int kibibytes) : Mounted(folder) {
        const QByteArray options = "size=" + QByteArray::number(kibibytes) + "k,mode=0700";
        mounted_ = mount("tmpfs", folder_.constData(), "tmpfs", 0, options.constData()) == 0;
    }
};

/** The folder itself, but nothing in it can be changed until it is made writable again. */
class ReadOnly : public Mounted {
public:
    explicit ReadOnly(const QString &folder) : Mounted(folder) {
        mounted_ =
            mount(folder_.constData(), folder_.constData(), nullptr, MS_BIND, nullptr) == 0 &&
            remount(MS_RDONLY);
    }
    void makeWritable() { remount(0); }

private:
    bool remount(unsigned long flags) const {
        return mount(nullptr, folder_.constData(), nullptr, MS_REMOUNT | MS_BIND | flags,
                     nullptr) == 0;
    }
};

/** A folder seen at a second place. */
class SeenAlsoAt : public Mounted {
public:
    SeenAlsoAt(const QString &folder, const QString &place) : Mounted(place) {
        mounted_ = mount(QFile::encodeName(folder).constData(), folder_.constData(), nullptr,
                         MS_BIND, nullptr) == 0;
    }
};

/** A file system whose server never answers: whoever touches it waits until this is destroyed. */
class Hanging : public Mounted {
public:
    explicit Hanging(const QString &folder)
        : Mounted(folder), server_(open("/dev/fuse", O_RDWR | O_CLOEXEC)) {
        if (server_ < 0)
            return;
        const QByteArray options = "fd=" + QByteArray::number(server_) +
                                   ",rootmode=40000,user_id=0,group_id=0,allow_other";
        mounted_ = mount("hanging", folder_.constData(), "fuse", MS_NOSUID | MS_NODEV,
                         options.constData()) == 0;
    }
    ~Hanging() override {
        if (server_ >= 0)
            close(server_);
    }

private:
    int server_;
};

} // namespace corvid::test
