#pragma once

#include <cstddef>
#include <memory>

namespace corvid {

/**
 * A file in memory, as it was when it was mapped. Pages that nobody looked at cost nothing, the
 * others can be dropped by the system at any time. Writing changes a copy that only we see.
 *
 * Whoever cuts the file short in place, or a disk that fails, ends no process of ours: what cannot
 * be read is zeros. Any thread.
 */
class FileMap {
public:
    /** `size` bytes of an open file, which can be closed afterwards, from a multiple of
        `alignment` on. Null where there is nothing to map or that is impossible. */
    static std::shared_ptr<const FileMap> of(int descriptor, std::size_t size,
                                             std::size_t position = 0);

    /** The largest page of any machine. */
    static constexpr std::size_t alignment = 64 * 1024;

    ~FileMap();
    FileMap(const FileMap &) = delete;
    FileMap &operator=(const FileMap &) = delete;

    unsigned char *data() const { return data_; }
    std::size_t size() const { return size_; }

private:
    FileMap(unsigned char *data, std::size_t size) : data_(data), size_(size) {}

    unsigned char *data_;
    std::size_t size_;
};

} // namespace corvid
