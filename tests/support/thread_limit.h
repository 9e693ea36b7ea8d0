// What code does at the limit of threads, without one: no limit of users binds root.
#pragma once

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <functional>
#include <iterator>
#include <thread>

namespace TestSupport {

/// Has the system start no thread for the calling one any more.
/// @return false if it cannot be told to
inline bool refuseThreads() {
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone3, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(filter), filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

/// Runs `code` on a thread that can start no other. Where the system cannot be told so, as in
/// emulation, the test ends as skipped.
inline void runAtThreadLimit(const std::function<void()>& code) {
    bool isRefused = false;
    std::thread([&] {
        isRefused = refuseThreads();
        if (isRefused) {
            code();
        }
    }).join();
    if (!isRefused) {
        GTEST_SKIP() << "no filter of system calls";
    }
}

}  // namespace TestSupport
