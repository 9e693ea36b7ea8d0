// Calls between processes and within one: what arrives, on which thread, in which order.
#include <android-base/unique_fd.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/echo_service.h"
#include "platform/peer.h"

namespace moriak_test {
namespace {

using android::base::unique_fd;
using android::hardware::interfacesEqual;
using android::hardware::IPCThreadState;
using testing::ElementsAre;

class CallsTest : public testing::Test {
  protected:
    const RuntimeDirectory& directory_ = RuntimeDirectory::ofProgram();
    ServiceProcess process_;
    sp<IEcho> echo_ = IEcho::getService();
};

/** A pipe, whose writing end can be sent. */
struct Pipe {
    Pipe() {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        readEnd.reset(ends[0]);
        native_handle_t* native = native_handle_create(1, 0);
        native->data[0] = ends[1];
        writeEnd.setTo(native, true);
    }

    /** Reads everything that was written, until all writing ends are closed. */
    std::string content() {
        writeEnd = nullptr;
        std::string text(100, '\0');
        text.resize(static_cast<size_t>(read(readEnd.get(), text.data(), text.size())));
        return text;
    }

    unique_fd readEnd;
    hidl_handle writeEnd;
};

TEST_F(CallsTest, NestedValuesArriveWhole) {
    ASSERT_NE(echo_, nullptr);
    EXPECT_TRUE(echo_->isRemote());
    Pipe pipe;
    hidl_vec<Record> records(3);
    records[0].name = "first";
    records[0].numbers = {1, 2, 3};
    records[0].file = pipe.writeEnd;
    // More than a socket's buffer holds.
    const std::string large(900'000, 'x');
    records[2].name = large;

    hidl_vec<Record> reversed;
    ASSERT_TRUE(echo_->reverse(records, [&](const auto& answer) { reversed = answer; }).isOk());
    records = {};

    ASSERT_EQ(reversed.size(), 3u);
    EXPECT_EQ(reversed[0].name, large);
    EXPECT_EQ(reversed[1].name, "");
    EXPECT_EQ(reversed[1].numbers.size(), 0u);
    EXPECT_EQ(reversed[1].file.getNativeHandle(), nullptr);
    EXPECT_EQ(reversed[2].name, "first");
    EXPECT_THAT(std::vector<uint32_t>(reversed[2].numbers), ElementsAre(3, 2, 1));
    // The descriptor has gone to the service and come back as another one.
    EXPECT_TRUE(echo_->debug(reversed[2].file, {"to the pipe"}).isOk());
    reversed = {};
    EXPECT_EQ(pipe.content(), "to the pipe");
}

TEST_F(CallsTest, DescriptorsAreClosedWhenTheCallIsOver) {
    const size_t before = process_.descriptors();
    // More than may wait for a program to take them.
    for (int i = 0; i < 600; ++i) {
        Pipe pipe;
        EXPECT_TRUE(echo_->debug(pipe.writeEnd, {"text"}).isOk());
        EXPECT_EQ(pipe.content(), "text");
    }
    EXPECT_TRUE(becomesTrue([&] { return process_.descriptors() <= before; }));
}

TEST_F(CallsTest, ACallTooLargeToSendFailsAndTheConnectionLivesOn) {
    hidl_vec<Record> records(1);
    records[0].name = std::string(2'000'000, 'x');
    EXPECT_FALSE(echo_->reverse(records, [](const auto&) {}).isOk());
    EXPECT_TRUE(echo_->ping().isOk());
}

TEST_F(CallsTest, LargeCallsInBothDirectionsDoNotDeadlock) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this] {
            hidl_vec<Record> records(1);
            records[0].name = std::string(900'000, 'x');
            for (int i = 0; i < 10; ++i) {
                EXPECT_TRUE(echo_->reverse(records, [](const auto&) {}).isOk());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST_F(CallsTest, NestedCallsComeBackOnTheThreadThatWaitsForThem) {
    sp<IListener> listener;
    listener = new Listener([&, test = std::this_thread::get_id()](int32_t depth) -> int32_t {
        EXPECT_EQ(std::this_thread::get_id(), test);
        EXPECT_EQ(IPCThreadState::self()->getCallingPid(), process_.pid());
        const int32_t below = depth == 0 ? -1 : int32_t(echo_->forward(listener, depth - 1));
        EXPECT_EQ(IPCThreadState::self()->getCallingPid(), process_.pid()) << "still";
        return below + 1;
    });
    EXPECT_EQ(int32_t(echo_->forward(listener, 30)), 30);
    EXPECT_EQ(IPCThreadState::self()->getCallingPid(), getpid());
}

TEST_F(CallsTest, MoreThreadsThanThereIsRoomForCallAtOnce) {
    // Each call is answered after a nested call, which takes no room of the window.
    std::vector<std::thread> threads;
    for (int32_t thread = 0; thread < 300; ++thread) {
        threads.emplace_back([&, thread] {
            for (int32_t i = thread; i < 1200; i += 300) {
                EXPECT_EQ(int32_t(echo_->forward(new Listener, i)), i);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

/** The soft limit of a process, for a scope. */
class DescriptorLimit {
  public:
    DescriptorLimit(pid_t process, rlim_t limit) : process_(process) {
        EXPECT_EQ(prlimit(process_, RLIMIT_NOFILE, nullptr, &before_), 0);
        const rlimit lowered{limit, before_.rlim_max};
        EXPECT_EQ(prlimit(process_, RLIMIT_NOFILE, &lowered, nullptr), 0);
    }
    ~DescriptorLimit() { prlimit(process_, RLIMIT_NOFILE, &before_, nullptr); }

  private:
    const pid_t process_;
    rlimit before_{};
};

#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
#define MORIAK_LOOKS_AT_MEMORY_THROUGH_A_PIPE
#endif
#endif

TEST_F(CallsTest, DescriptorsThatCannotBeReceivedFailOnlyTheirCall) {
#ifdef MORIAK_LOOKS_AT_MEMORY_THROUGH_A_PIPE
    GTEST_SKIP() << "the sanitizer takes healthy objects for broken ones without a descriptor";
#endif

    const auto isTaken = [this](int fd) {
        hidl_handle handle;
        native_handle_t* const native = native_handle_create(1, 0);
        native->data[0] = fd;
        handle.setTo(native, true);
        return echo_->debug(handle, {"text"}).isOk();
    };
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const size_t before = process_.descriptors();
    rlim_t next = 0;  // the number of the next descriptor of the service
    const std::string all = "/proc/" + std::to_string(process_.pid()) + "/fd/";
    while (std::filesystem::is_symlink(all + std::to_string(next))) ++next;
    ASSERT_GE(next, 8U);
    for (const rlim_t limit : {next, next + 1}) {
        // The kernel refuses, or the runtime for the service's sake.
        const DescriptorLimit lowered(process_.pid(), limit);
        EXPECT_FALSE(isTaken(dup(file))) << limit - next;
        EXPECT_TRUE(echo_->ping().isOk());
    }
    EXPECT_FALSE(isTaken(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)))
        << "closing it could block";
    EXPECT_TRUE(isTaken(dup(file)));
    EXPECT_TRUE(becomesTrue([&] { return process_.descriptors() <= before; }));

    // Also for descriptors of a reply.
    Pipe pipe;
    hidl_vec<Record> records(1);
    records[0].file = pipe.writeEnd;
    {
        const DescriptorLimit lowered(getpid(), static_cast<rlim_t>(dup(file)));
        EXPECT_FALSE(echo_->reverse(records, [](const auto&) {}).isOk());
    }
    EXPECT_TRUE(echo_->reverse(records, [](const auto&) {}).isOk());
    close(file);
}

TEST_F(CallsTest, ClientsThatConnectWithoutFreeDescriptorsAreServedLater) {
#ifdef MORIAK_LOOKS_AT_MEMORY_THROUGH_A_PIPE
    GTEST_SKIP() << "the sanitizer takes healthy objects for broken ones without a descriptor";
#endif

    unique_fd early;
    {
        const DescriptorLimit lowered(process_.pid(), 1);
        early = connectedToService("default");
        for (int i = 0; i < 20; ++i) EXPECT_TRUE(echo_->ping().isOk());
    }
    const Peer peer(std::move(early), "default");
}

TEST_F(CallsTest, AChildThatWasForkedOffLeavesTheConnectionAlone) {
    const pid_t child = fork();
    if (child == 0) {
        sp<IEcho> inherited = echo_;
        const bool isRefused = !inherited->ping().isOk() && IEcho::getService() == nullptr &&
                               (new EchoService)->registerAsService("child") != android::OK;
        inherited = echo_ = nullptr;
        _exit(isRefused ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(int32_t(echo_->forward(new Listener, 5)), 5);
}

TEST_F(CallsTest, ProgramsThatAreStartedInheritNoDescriptor) {
    const sp<EchoService> own = new EchoService;
    ASSERT_EQ(own->registerAsService("own"), android::OK);
    const ClientProcess client("own");  // whose connection has been accepted here
    Pipe pipe;
    hidl_vec<Record> records(1);
    records[0].file = pipe.writeEnd;
    EXPECT_TRUE(echo_
                    ->reverse(records,
                              [](const auto& reversed) {
                                  const int received = reversed[0].file->data[0];
                                  EXPECT_NE(fcntl(received, F_GETFD) & FD_CLOEXEC, 0);
                              })
                    .isOk());
    // Those that the test program was started with are not the runtime's.
    for (int fd = STDERR_FILENO + 1; fd < 256; ++fd) {
        char target[256] = {};
        const std::string link = "/proc/self/fd/" + std::to_string(fd);
        if (readlink(link.c_str(), target, sizeof(target) - 1) < 0) continue;
        const bool isOurs = std::string(target).find("socket:") == 0 ||
                            std::string(target).find("anon_inode:") == 0;
        if (isOurs) EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0) << target;
    }
}

TEST_F(CallsTest, OneWayCallsKeepTheirOrder) {
    for (uint32_t i = 0; i < 500; ++i) ASSERT_TRUE(echo_->collect(i).isOk());
    std::vector<uint32_t> numbers;
    EXPECT_TRUE(becomesTrue([&] {
        EXPECT_TRUE(echo_->collected([&](const auto& all) { numbers = all; }).isOk());
        return numbers.size() >= 500;
    }));
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST_F(CallsTest, ObjectsKeepTheirIdentityAndTheirInterfaces) {
    const sp<IListener> listener = new Listener;
    ASSERT_TRUE(echo_->keep(listener).isOk());
    EXPECT_TRUE(bool(echo_->isKept(listener)));
    EXPECT_FALSE(bool(echo_->isKept(new Listener)));
    EXPECT_FALSE(bool(echo_->isKept(nullptr)));
    EXPECT_EQ(sp<IListener>(echo_->getKept()), listener) << "an object comes home as itself";

    const sp<android::hidl::base::V1_0::IBase> base = echo_;
    EXPECT_TRUE(interfacesEqual(base, IEcho::getService()));
    EXPECT_FALSE(interfacesEqual(base, listener));
    EXPECT_TRUE(interfacesEqual(sp<IEcho>(IEcho::castFrom(base)), echo_));
    EXPECT_EQ(sp<IListener>(IListener::castFrom(base)), nullptr);
}

/** Makes a call in its destructor, which must therefore run on a thread that may call. */
class CallingAtItsEnd : public Listener {
  public:
    explicit CallingAtItsEnd(const sp<IEcho>& echo) : echo_(echo) {}
    ~CallingAtItsEnd() override { EXPECT_TRUE(echo_->ping().isOk()); }

  private:
    const sp<IEcho> echo_;
};

TEST_F(CallsTest, AnObjectLivesForAsLongAsTheServiceHoldsIt) {
    // Releases come by themselves, the second time as the first.
    for (int round = 0; round < 3; ++round) {
        sp<IListener> listener = new CallingAtItsEnd(echo_);
        const android::wp<IListener> watched = listener;
        ASSERT_TRUE(echo_->keep(listener).isOk());
        ASSERT_TRUE(echo_->keep(listener).isOk());
        listener = nullptr;
        EXPECT_NE(watched.promote(), nullptr);
        ASSERT_TRUE(echo_->keep(nullptr).isOk());
        EXPECT_TRUE(becomesTrue([&] { return watched.promote() == nullptr; }));
    }
    EXPECT_TRUE(echo_->ping().isOk());
}

TEST_F(CallsTest, AnObjectOfAThirdProcessIsNotPassedOn) {
    const sp<IEcho> own = new EchoService;
    ASSERT_EQ(own->registerAsService("own"), android::OK);
    const ClientProcess third("own");
    const sp<IListener> listener = own->getKept();
    ASSERT_TRUE(listener != nullptr && listener->isRemote());
    EXPECT_FALSE(echo_->keep(listener).isOk());
    EXPECT_TRUE(echo_->ping().isOk());
}

TEST(PartnersTest, ProcessesThatLookEachOtherUpAtOnceUseOneConnection) {
    RuntimeDirectory::ofProgram();
    for (int round = 0; round < 30; ++round) {
        const PartnerProcess left("left", "right");
        const PartnerProcess right("right", "left");
        EXPECT_TRUE(left.isReady() && right.isReady()) << round;
    }
}

TEST(LocalCallsTest, AServiceOfTheSameProcessIsHandedOutAsItself) {
    RuntimeDirectory::ofProgram();
    const sp<IEcho> service = new EchoService;
    ASSERT_EQ(service->registerAsService("local"), android::OK);
    EXPECT_EQ(IEcho::getService("local"), service);
    EXPECT_FALSE(service->isRemote());
}

/** Constructors of generated code are kept until the process ends. */
TEST(GeneratedCodeTest, IsNotUnloaded) {
    void* const package = dlopen(MORIAK_HAL, RTLD_NOW);
    ASSERT_NE(package, nullptr) << dlerror();
    dlclose(package);
    EXPECT_NE(dlopen(MORIAK_HAL, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
}  // namespace moriak_test
