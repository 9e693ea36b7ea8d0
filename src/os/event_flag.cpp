// An event-flag word lies at the start of a page of ashmem.
#include "os/event_flag.h"

#include <cutils/ashmem.h>
#include <cutils/native_handle.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <map>

#include "os/mutex.h"

namespace Vek::OS {
namespace {

using android::hardware::EventFlag;
using Word = std::atomic<uint32_t>;

/// The kernel refuses longer names of shared memory.
constexpr size_t kLongestLabel = 249;

/// The words that this file has mapped, by event flag. Needed because not all releases of the
/// runtime can map a descriptor, and an event flag does not expose its word.
class MappedWords {
  public:
    static MappedWords& self() {
        // Never destroyed: other static objects may own event flags.
        static auto* const words = new MappedWords;
        return *words;
    }

    void add(const EventFlag* eventFlag, Word* word) {
        const LockGuard lock{mutex_};
        words_[eventFlag] = word;
    }
    // Both return null for an event flag that was not made here.
    Word* find(const EventFlag* eventFlag) {
        const LockGuard lock{mutex_};
        const auto found = words_.find(eventFlag);
        return found == words_.end() ? nullptr : found->second;
    }
    Word* take(const EventFlag* eventFlag) {
        Word* const word = find(eventFlag);
        const LockGuard lock{mutex_};
        words_.erase(eventFlag);
        return word;
    }

  private:
    Mutex mutex_;
    std::map<const EventFlag*, Word*> words_ VEK_GUARDED_BY(mutex_);
};

/// Null unless the descriptor is ashmem that is large enough for a word.
Word* mapWord(int fd) {
    if (ashmem_valid(fd) == 0 || ashmem_get_size_region(fd) < static_cast<int>(sizeof(Word))) {
        return nullptr;
    }
    void* const address = mmap(nullptr, sizeof(Word), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return address == MAP_FAILED ? nullptr : static_cast<Word*>(address);
}

void unmapWord(Word* word) {
    munmap(word, sizeof(Word));
}

}  // namespace

android::hardware::hidl_handle createEventFlagHandle(const std::string& name) {
    android::hardware::hidl_handle handle;
    const std::string label = name.substr(0, kLongestLabel);
    const int fd = ashmem_create_region(label.c_str(), static_cast<size_t>(sysconf(_SC_PAGESIZE)));
    if (fd < 0) {
        return handle;
    }
    native_handle_t* const nativeHandle = native_handle_create(1, 0);
    if (nativeHandle == nullptr) {
        close(fd);
        return handle;
    }
    nativeHandle->data[0] = fd;
    handle.setTo(nativeHandle, true);
    return handle;
}

EventFlag* createEventFlagFromHandle(const android::hardware::hidl_handle& handle) {
    const native_handle_t* const nativeHandle = handle.getNativeHandle();
    if (nativeHandle == nullptr || nativeHandle->numFds < 1) {
        return nullptr;
    }
    Word* const word = mapWord(nativeHandle->data[0]);
    if (word == nullptr) {
        return nullptr;
    }
    EventFlag* eventFlag = nullptr;
    if (EventFlag::createEventFlag(word, &eventFlag) != android::NO_ERROR) {
        unmapWord(word);
        return nullptr;
    }
    MappedWords::self().add(eventFlag, word);
    return eventFlag;
}

void wakeEventFlag(EventFlag& eventFlag, uint32_t bits) {
    eventFlag.wake(bits);
    if (Word* const word = MappedWords::self().find(&eventFlag)) {
        syscall(SYS_futex, word, FUTEX_WAKE_BITSET, INT_MAX, nullptr, nullptr, bits);
    }
}

void deleteEventFlag(EventFlag** eventFlag) {
    if (*eventFlag == nullptr) {
        return;
    }
    Word* const word = MappedWords::self().take(*eventFlag);
    EventFlag::deleteEventFlag(eventFlag);
    if (word != nullptr) {
        unmapWord(word);
    }
}

}  // namespace Vek::OS
