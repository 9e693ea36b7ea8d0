// Values and references: who owns what, and what happens to those who do not look at a result.
#include <android-base/unique_fd.h>
#include <cutils/ashmem.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "platform/echo_service.h"
#include "support/child_process.h"

namespace moriak_test {
namespace {

using android::RefBase;
using android::wp;
using android::base::unique_fd;
using android::hardware::Status;

struct Counted : public virtual RefBase {
    explicit Counted(std::atomic<int>& alive) : alive_(alive) { ++alive_; }
    ~Counted() override { --alive_; }
    std::atomic<int>& alive_;
};

TEST(ReferencesTest, AnObjectLivesAsLongAsItsStrongReferences) {
    std::atomic<int> alive{0};
    sp<Counted> first(new Counted(alive));
    wp<Counted> weak(first);
    sp<RefBase> second = first;
    first = nullptr;
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(weak.promote(), second);
    second = std::move(second);
    second.clear();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(weak.promote(), nullptr);
    EXPECT_EQ(wp<Counted>().promote(), nullptr);
}

TEST(ReferencesTest, PromotionRacesTheLastReleaseWithoutRevivingTheDead) {
    std::atomic<int> alive{0};
    for (int round = 0; round < 500; ++round) {
        sp<Counted> strong(new Counted(alive));
        std::thread promoter([weak = wp<Counted>(strong)] {
            while (const sp<Counted> promoted = weak.promote()) {
                EXPECT_EQ(promoted->alive_, 1);
            }
        });
        strong.clear();
        promoter.join();
        EXPECT_EQ(alive, 0);
    }
}

native_handle_t* handleOf(const std::vector<int>& descriptors) {
    native_handle_t* handle = native_handle_create(static_cast<int>(descriptors.size()), 1);
    std::copy(descriptors.begin(), descriptors.end(), handle->data);
    return handle;
}

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

TEST(NativeHandleTest, ImpossibleCountsAreRefused) {
    EXPECT_EQ(native_handle_create(-1, 0), nullptr);
    EXPECT_EQ(native_handle_create(0, -1), nullptr);
    EXPECT_EQ(native_handle_create(NATIVE_HANDLE_MAX_FDS + 1, 0), nullptr);
    EXPECT_EQ(native_handle_create(0, NATIVE_HANDLE_MAX_INTS + 1), nullptr);
    native_handle_t notOne{};
    EXPECT_EQ(native_handle_clone(nullptr), nullptr);
    EXPECT_EQ(native_handle_clone(&notOne), nullptr);
    EXPECT_EQ(native_handle_close(&notOne), -EINVAL);
    EXPECT_EQ(native_handle_delete(&notOne), -EINVAL);
}

TEST(NativeHandleTest, ACloneThatFailsHalfWayLeavesNoDescriptorOpen) {
    const unique_fd good(open("/dev/null", O_RDONLY | O_CLOEXEC));
    native_handle_t* handle = handleOf({good.get(), good.get(), -1});
    const size_t before = TestSupport::resourcesOf(getpid()).descriptors;
    EXPECT_EQ(native_handle_clone(handle), nullptr);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(TestSupport::resourcesOf(getpid()).descriptors, before);
    native_handle_delete(handle);
}

TEST(HidlHandleTest, ACopyOwnsItsDescriptorsAndABorrowerDoesNot) {
    native_handle_t* native = handleOf({open("/dev/null", O_RDONLY | O_CLOEXEC)});
    native->data[1] = 77;
    hidl_handle owner;
    owner.setTo(native, true);
    int copied = -1;
    {
        const hidl_handle borrower(native);
        const hidl_handle copy(borrower);
        copied = copy->data[0];
        EXPECT_NE(copied, native->data[0]);
        EXPECT_EQ(copy->data[1], 77);
        EXPECT_TRUE(isOpen(copied));
    }
    EXPECT_FALSE(isOpen(copied));
    EXPECT_TRUE(isOpen(native->data[0]));

    const int original = native->data[0];
    hidl_handle next(std::move(owner));
    EXPECT_EQ(owner.getNativeHandle(), nullptr);  // NOLINT: what a move leaves is promised
    next = nullptr;
    EXPECT_FALSE(isOpen(original));
}

TEST(HidlStringTest, CopiesAreApartAndKeepEveryByte) {
    const std::string withZero("a\0b", 3);
    hidl_string first(withZero);
    const hidl_string second(first);
    first = "other";
    EXPECT_EQ(std::string(second), withZero);
    EXPECT_EQ(first, "other");
    EXPECT_NE(first, second);
    const hidl_string third(std::move(first));
    EXPECT_EQ(third, "other");
    EXPECT_STREQ(first.c_str(), "");  // NOLINT: what a move leaves is promised
    EXPECT_TRUE(hidl_string(nullptr).empty());
}

TEST(HidlVecTest, ElementsSurviveCopiesResizingAndReplacement) {
    hidl_vec<hidl_string> first{"one", "two", "three"};
    const hidl_vec<hidl_string> copy(first);
    first.resize(2);
    first[0] = "changed";
    EXPECT_EQ(copy, (hidl_vec<hidl_string>{"one", "two", "three"}));
    EXPECT_EQ(first, (hidl_vec<hidl_string>{"changed", "two"}));
    first.resize(3);
    EXPECT_EQ(toString(first), R"(["changed", "two", ""])");
    first = {};
    EXPECT_EQ(first.size(), 0u);
    EXPECT_NE(first, copy);
}

TEST(AshmemTest, OnlyARegionThatCannotShrinkIsValid) {
    const unique_fd region(ashmem_create_region("region", 100));
    EXPECT_TRUE(ashmem_valid(region.get()));
    EXPECT_EQ(ashmem_get_size_region(region.get()), 100);
    EXPECT_NE(ftruncate(region.get(), 50), 0);
    EXPECT_NE(ftruncate(region.get(), 5000), 0);

    const unique_fd canShrink(memfd_create("region", MFD_ALLOW_SEALING));
    const unique_fd device(open("/dev/null", O_RDWR | O_CLOEXEC));
    for (const int fd : {canShrink.get(), device.get(), -1}) EXPECT_FALSE(ashmem_valid(fd));
    EXPECT_EQ(ashmem_create_region("none", 0), -1);
    EXPECT_EQ(ashmem_create_region("huge", SIZE_MAX), -1);
}

Status deadObject() {
    return Status::fromStatusT(android::DEAD_OBJECT);
}

TEST(ReturnDeathTest, AFailureThatNobodyLookedAtEndsTheProcess) {
    const testing::KilledBySignal aborted(SIGABRT);
    const std::string unchecked =
        "^F/HidlStatus: Failed HIDL return status not checked: "
        "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '\n$";
    EXPECT_EXIT({ const Return<void> forgotten = deadObject(); }, aborted, unchecked);
    EXPECT_EXIT({ Return<sp<RefBase>>(deadObject()).isDeadObject(); }, aborted, unchecked);
    EXPECT_EXIT(
        {
            Return<void> overwritten = deadObject();
            overwritten = android::hardware::Void();
        },
        aborted, unchecked);
    EXPECT_EXIT(static_cast<void>(static_cast<int>(Return<int>(deadObject()))), aborted,
                "^F/HidlStatus: Failed HIDL call: "
                "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '\n$");
}

}  // namespace
}  // namespace moriak_test
