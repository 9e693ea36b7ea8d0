// Makes system calls fail that hardly ever fail, with seccomp filters: reliably, also for root, and
// only on one thread.
#pragma once

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace TestSupport {

/// Runs `code` on a thread of its own for which calls end with EAGAIN. Where the system knows no
/// filters, as in emulation, the test ends as skipped.
/// @param refused ends at its last instruction if a call is one of them, and else behind it
inline void runRefused(std::vector<sock_filter> refused, const std::function<void()>& code) {
    refused.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN));
    refused.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(refused.size()), refused.data()};
    bool isFiltered = false;
    std::thread([&] {
        isFiltered = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                     prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
        if (isFiltered) {
            code();
        }
    }).join();
    if (!isFiltered) {
        GTEST_SKIP() << "no filter of system calls";
    }
}

/// Where no thread can be started any more.
inline void runAtThreadLimit(const std::function<void()>& code) {
    runRefused({BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone, 1, 0),
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone3, 0, 1)},
               code);
}

/// Where the word of an event flag has changed whenever the thread is about to sleep on it.
inline void runWithChangingWord(const std::function<void()>& code) {
    runRefused({BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_futex, 0, 3),
                BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[1])),
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, FUTEX_WAIT_BITSET, 0, 1)},
               code);
}

}  // namespace TestSupport
