#include "Platform/Linux/Icons/RefusedCalls.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace corvid {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t architecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t architecture = AUDIT_ARCH_AARCH64;
#elif defined(__riscv) && __riscv_xlen == 64
constexpr std::uint32_t architecture = AUDIT_ARCH_RISCV64;
#else
constexpr std::uint32_t architecture = 0;
#endif

constexpr std::uint32_t refused[] = {
#ifdef __NR_open
    __NR_open,
    __NR_creat,
#endif
    __NR_openat,
    __NR_openat2,
    __NR_open_by_handle_at,
    __NR_io_uring_setup,
    __NR_socket,
    __NR_connect,
    __NR_execve,
    __NR_execveat,
    __NR_ptrace,
    __NR_process_vm_readv,
    __NR_process_vm_writev,
    __NR_pidfd_getfd};

sock_filter load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}

/** Goes on with the next one where what was loaded is the value, else with the one after. */
sock_filter isValue(std::uint32_t value) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 1);
}

sock_filter verdict(std::uint32_t word) {
    return BPF_STMT(BPF_RET | BPF_K, word);
}

} // namespace

bool refuseCalls() {
    if (architecture == 0)
        return false;
    // The numbers below mean other calls to a program of another architecture.
    std::vector<sock_filter> filter{
        load(offsetof(seccomp_data, arch)), BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, architecture, 1, 0),
        verdict(SECCOMP_RET_KILL_PROCESS), load(offsetof(seccomp_data, nr))};
    for (const std::uint32_t call : refused) {
        filter.push_back(isValue(call));
        filter.push_back(verdict(SECCOMP_RET_ERRNO | EACCES));
    }
    filter.push_back(verdict(SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace corvid
