// Values and references: ownership, and the end of a process that does not check a result.
#include <android-base/unique_fd.h>
#include <cutils/ashmem.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>
#include <utility>

#include "platform/echo_service.h"

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

TEST(ReferencesTest, PromotionRacesTheLastReleaseWithoutRevivingTheDead) {
    std::atomic<int> alive{0};
    for (int round = 0; round < 500; ++round) {
        sp<Counted> strong(new Counted(alive));
        std::thread promoter([weak = wp<Counted>(strong)] {
            while (const sp<Counted> promoted = weak.promote()) EXPECT_EQ(promoted->alive_, 1);
        });
        sp<RefBase> last = strong;
        strong.clear();
        last = std::move(last);
        EXPECT_EQ(alive, 1);
        last.clear();
        promoter.join();
        EXPECT_EQ(alive, 0);
    }
}

TEST(NativeHandleTest, ACloneThatFailsHalfWayLeavesNoDescriptorOpen) {
    native_handle_t* handle = native_handle_create(2, 0);
    handle->data[0] = STDIN_FILENO;
    handle->data[1] = -1;
    const auto before = TestSupport::resourcesOf(getpid());
    EXPECT_EQ(native_handle_clone(handle), nullptr);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(TestSupport::resourcesOf(getpid()), before);
    native_handle_delete(handle);
    EXPECT_EQ(native_handle_create(-1, 0), nullptr);
    EXPECT_EQ(native_handle_create(0, NATIVE_HANDLE_MAX_INTS + 1), nullptr);
}

TEST(HidlHandleTest, ACopyOwnsItsDescriptorsAndABorrowerDoesNot) {
    const auto isOpen = [](int fd) { return fcntl(fd, F_GETFD) >= 0; };
    native_handle_t* native = native_handle_create(1, 1);
    native->data[0] = open("/dev/null", O_RDONLY | O_CLOEXEC);
    native->data[1] = 77;
    const int original = native->data[0];
    hidl_handle owner;
    owner.setTo(native, true);
    hidl_handle copy = hidl_handle(native);
    EXPECT_EQ(copy.getNativeHandle(), native);
    copy = hidl_handle(copy);
    const int copied = copy->data[0];
    EXPECT_NE(copied, original);
    EXPECT_EQ(copy->data[1], 77);
    EXPECT_EQ(fcntl(copied, F_GETFD), FD_CLOEXEC);
    copy = nullptr;
    EXPECT_FALSE(isOpen(copied));
    EXPECT_TRUE(isOpen(original));
    hidl_handle next(std::move(owner));
    EXPECT_EQ(owner.getNativeHandle(), nullptr);  // NOLINT: what a move leaves is promised
    next = nullptr;
    EXPECT_FALSE(isOpen(original));
}

TEST(HidlVecTest, TextsSurviveCopiesResizingAndReplacement) {
    const std::string withZero("a\0b", 3);
    hidl_vec<hidl_string> first{withZero, "two", "three"};
    const hidl_vec<hidl_string> copy(first);
    first.resize(2);
    first[1] = "changed";
    first.resize(3);
    EXPECT_EQ(std::string(first[0]), withZero);
    EXPECT_EQ(first, (hidl_vec<hidl_string>{withZero, "changed", nullptr}));
    EXPECT_EQ(copy, (hidl_vec<hidl_string>{withZero, "two", "three"}));
    first = {};
    EXPECT_EQ(toString(first), "[]");
    const std::vector<bool> flags{true, false, true};
    EXPECT_EQ(std::vector<bool>(hidl_vec<bool>(flags)), flags);
}

TEST(InterfaceTest, BaseInterfaceHasThePublishedHash) {
    const sp<IEcho> echo = new EchoService;
    echo->getHashChain([](const auto& chain) {
        ASSERT_EQ(chain.size(), 2u);
        EXPECT_EQ(toString(chain[1]).substr(0, 16), "[236, 127, 215, ");
    });
}

TEST(AshmemTest, OnlyARegionThatCannotShrinkIsValid) {
    const unique_fd region(ashmem_create_region("region", 100));
    EXPECT_TRUE(ashmem_valid(region.get()));
    EXPECT_EQ(fcntl(region.get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(ashmem_get_size_region(region.get()), 100);
    EXPECT_NE(ftruncate(region.get(), 50), 0);
    EXPECT_NE(ftruncate(region.get(), 5000), 0);

    const unique_fd canShrink(memfd_create("region", MFD_ALLOW_SEALING));
    // Not there on every machine, and then as invalid as it should be.
    const unique_fd hugePages(memfd_create("region", MFD_ALLOW_SEALING | MFD_HUGETLB));
    fcntl(hugePages.get(), F_ADD_SEALS, F_SEAL_SHRINK);
    for (const int fd : {canShrink.get(), hugePages.get(), STDIN_FILENO, -1}) {
        EXPECT_FALSE(ashmem_valid(fd));
        EXPECT_EQ(ashmem_get_size_region(fd), -1);
    }
    EXPECT_EQ(ashmem_create_region("none", 0), -1);
    EXPECT_EQ(ashmem_create_region("huge", SIZE_MAX), -1);
}

TEST(StatusTest, TextsAreThePublishedOnes) {
    EXPECT_EQ(Status::ok().description(), "No error");
    EXPECT_EQ(Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "why").description(),
              "Status(EX_ILLEGAL_STATE): 'why'");
    EXPECT_EQ(Status::fromExceptionCode(-77).description(), "Status(-77): ''");
    EXPECT_EQ(Status::fromStatusT(android::NOT_ENOUGH_DATA).description(),
              "Status(EX_TRANSACTION_FAILED): 'NOT_ENOUGH_DATA: '");
    EXPECT_EQ(Status::fromStatusT(-EXDEV).description(),
              "Status(EX_TRANSACTION_FAILED): '-18 (Invalid cross-device link): '");
}

TEST(ReferencesTest, AnObjectThatNobodyHoldsYetIsPromotedAndADeadOneIsNot) {
    std::atomic<int> alive{0};
    wp<Counted> weak;
    {
        Counted* const object = new Counted(alive);
        weak = object;
        const sp<Counted> first = weak.promote();
        EXPECT_EQ(first.get(), object);
        EXPECT_EQ(object->getStrongCount(), 1);
    }
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(weak.promote(), nullptr);
    {
        Counted onStack(alive);
        weak = &onStack;
    }
    EXPECT_EQ(weak.promote(), nullptr);
}

TEST(ReturnDeathTest, UncheckedFailureEndsTheProcess) {
    const testing::KilledBySignal aborted(SIGABRT);
    const std::string unchecked =
        "^F/HidlStatus: Failed HIDL return status not checked: "
        "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '\n$";
    const Status dead = Status::fromStatusT(android::DEAD_OBJECT);
    EXPECT_EXIT({ const Return<void> forgotten = dead; }, aborted, unchecked);
    EXPECT_FALSE(Return<int>(5).isDeadObject());
    EXPECT_TRUE(Return<int>(dead).isDeadObject()) << "a death that was asked for is no surprise";
    EXPECT_EXIT({ Return<int>(Status::fromStatusT(android::BAD_VALUE)).isDeadObject(); }, aborted,
                "'BAD_VALUE: '\n$");
    EXPECT_EXIT(
        {
            Return<void> overwritten = dead;
            overwritten = android::hardware::Void();
        },
        aborted, unchecked);
    EXPECT_EXIT(static_cast<void>(static_cast<int>(Return<int>(dead))), aborted,
                "^F/HidlStatus: Failed HIDL call: "
                "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '\n$");
}

}  // namespace
}  // namespace moriak_test
