#pragma once

#include <utility>

#include <unistd.h>

namespace corvid {

/** Owns an open file descriptor; none where the number is negative. */
class FileDescriptor {
public:
    explicit FileDescriptor(int number = -1) : number_(number) {}
    FileDescriptor(FileDescriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~FileDescriptor() {
        if (number_ >= 0)
            close(number_);
    }

    int number() const { return number_; }
    bool valid() const { return number_ >= 0; }

private:
    int number_;
};

} // namespace corvid
