#include "Base/FileMap.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>

#include <sys/mman.h>
#include <unistd.h>

namespace corvid {

namespace {

/** Where a file is mapped, for a signal handler to read; free where it begins at 0. */
struct Region {
    std::atomic<std::uintptr_t> begin = 0;
    std::atomic<std::uintptr_t> end = 0;
};

constexpr std::size_t mostRegions = 16;
std::array<Region, mostRegions> regions;
struct sigaction previousAction = {};
std::uintptr_t pageSize = 0;

/** Puts zeros where the address is in one of our files. Only system calls here. */
bool putZeros(std::uintptr_t address) {
    for (const Region &region : regions) {
        if (address < region.begin || address >= region.end)
            continue;
        void *const page = reinterpret_cast<void *>(address & ~(pageSize - 1));
        return mmap(page, pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED,
                    -1, 0) == page;
    }
    return false;
}

// The signal is the kernel's word for a page that has no file behind it any more.
void handleSignal(int signal, siginfo_t *info, void * /*context*/) {
    const int error = errno;
    if (info->si_code != BUS_ADRERR || !putZeros(reinterpret_cast<std::uintptr_t>(info->si_addr))) {
        // None of ours. The kernel's strikes again on return; anybody else's is sent again.
        sigaction(SIGBUS, &previousAction, nullptr);
        if (info->si_code <= 0)
            raise(signal);
    }
    errno = error;
}

void installHandler() {
    pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    struct sigaction action = {};
    action.sa_sigaction = handleSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, &previousAction);
}

std::mutex registration;

bool watch(std::uintptr_t begin, std::size_t size) {
    const std::scoped_lock lock(registration);
    for (Region &region : regions) {
        if (region.begin != 0)
            continue;
        // The end last: until then it holds no address.
        region.begin = begin;
        region.end = begin + size;
        return true;
    }
    return false;
}

void unwatch(std::uintptr_t begin) {
    const std::scoped_lock lock(registration);
    for (Region &region : regions)
        if (region.begin == begin) {
            region.end = 0;
            region.begin = 0;
        }
}

} // namespace

std::shared_ptr<const FileMap> FileMap::of(int descriptor, std::size_t size, std::size_t position) {
    static std::once_flag once;
    std::call_once(once, installHandler);
    if (size == 0)
        return nullptr;
    void *const data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE, descriptor,
                            static_cast<off_t>(position));
    if (data == MAP_FAILED)
        return nullptr;
    if (!watch(reinterpret_cast<std::uintptr_t>(data), size)) {
        munmap(data, size);
        return nullptr;
    }
    return std::shared_ptr<const FileMap>(new FileMap(static_cast<unsigned char *>(data), size));
}

FileMap::~FileMap() {
    unwatch(reinterpret_cast<std::uintptr_t>(data_));
    munmap(data_, size_);
}

} // namespace corvid
