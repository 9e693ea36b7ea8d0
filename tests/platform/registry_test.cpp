// Finding services through the directory of sockets, including entries that must not be trusted.
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/echo_service.h"
#include "platform/peer.h"
#include "transport/Registry.h"

namespace moriak_test {
namespace {

namespace fs = std::filesystem;
using android::hardware::details::Registry;

/** Lookups in a directory that only this test uses. */
class RegistryTest : public testing::Test {
  protected:
    RegistryTest() {
        mkdtemp(path_.data());
        setenv("MORIAK_HIDL_RUNTIME_DIR", path_.c_str(), 1);
    }
    ~RegistryTest() override { fs::remove_all(path_); }

    std::string path_ = testing::TempDir() + "moriak-registry-XXXXXX";
};

TEST_F(RegistryTest, EntriesWithoutALivingProcessAreIgnored) {
    for (const char* target :
         {"process-1-1", "../../../etc/passwd", "process--1", "process-99999999999999999999-1"}) {
        const std::string link = path_ + "/moriak.test.calls@1.0::IEcho=broken";
        fs::create_symlink(target, link);
        EXPECT_EQ(IEcho::getService("broken"), nullptr) << target;
        fs::remove(link);
    }
    fs::remove_all(path_);
    EXPECT_EQ(IEcho::getService(), nullptr);
    EXPECT_FALSE(fs::exists(path_)) << "looking up creates nothing";
}

TEST_F(RegistryTest, InvalidFileNamesAreRefused) {
    const sp<IEcho> service = new EchoService;
    fs::create_directory(path_ + "/moriak.test.calls@1.0::IEcho=sub");
    for (const std::string& name : {std::string(), std::string("../up"), std::string("sub/name"),
                                    std::string(101, 'n'), std::string(5000, 'n')}) {
        EXPECT_NE(service->registerAsService(name), android::OK) << name.size();
        EXPECT_EQ(IEcho::getService(name), nullptr) << name.size();
    }
}

TEST_F(RegistryTest, InvalidSocketNamesAreIgnored) {
    EXPECT_EQ(Registry::processOf(Registry::newSocketName()), getpid());
    for (const char* name :
         {"process-12-34-/../other", "process-0-34-56", "process-12-34", "rocess-12-34-56"}) {
        EXPECT_EQ(Registry::processOf(name), std::nullopt) << name;
    }
}

TEST_F(RegistryTest, TheDirectoryIsTheUsersOwnAndNoLink) {
    const auto isRefused = [](const std::string& path) {
        setenv("MORIAK_HIDL_RUNTIME_DIR", path.c_str(), 1);
        return !Registry::open(Registry::Mode::kLookUp) && !Registry::open(Registry::Mode::kCreate);
    };
    EXPECT_FALSE(isRefused(path_));
    fs::create_directory_symlink(path_, path_ + "/link");
    EXPECT_TRUE(isRefused(path_ + "/link"));
    fs::permissions(path_, fs::perms::group_exec, fs::perm_options::add);
    EXPECT_TRUE(isRefused(path_));
    fs::permissions(path_, fs::perms::owner_all);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(path_.c_str(), 65534, getgid()), 0);
        EXPECT_TRUE(isRefused(path_));
    }
}

TEST_F(RegistryTest, DirectoryDefaultsToTheUsersRuntimeDirectory) {
    const char* const before = getenv("XDG_RUNTIME_DIR");
    const std::string usual = before == nullptr ? "" : before;
    setenv("XDG_RUNTIME_DIR", path_.c_str(), 1);
    unsetenv("MORIAK_HIDL_RUNTIME_DIR");
    EXPECT_TRUE(Registry::open(Registry::Mode::kCreate));
    EXPECT_TRUE(fs::is_directory(path_ + "/moriak-hidl"));
    before == nullptr ? unsetenv("XDG_RUNTIME_DIR") : setenv("XDG_RUNTIME_DIR", usual.c_str(), 1);
}

TEST_F(RegistryTest, ADirectoryThatIsOpenToOthersIsRefusedAndLeftAsItIs) {
    constexpr fs::perms kSticky = fs::perms::all | fs::perms::sticky_bit;
    fs::permissions(path_, kSticky);
    const sp<IEcho> service = new EchoService;
    EXPECT_NE(service->registerAsService("open"), android::OK);
    EXPECT_EQ(IEcho::getService("open"), nullptr);
    EXPECT_EQ(fs::status(path_).permissions(), kSticky);
    EXPECT_TRUE(fs::is_empty(path_));

    path_ += "/made";
    setenv("MORIAK_HIDL_RUNTIME_DIR", path_.c_str(), 1);
    EXPECT_EQ(service->registerAsService("closed"), android::OK);
    EXPECT_EQ(fs::status(path_).permissions(), fs::perms::owner_all);
    EXPECT_EQ(std::count_if(fs::directory_iterator(path_), {},
                            [](const auto& entry) { return entry.is_symlink(); }),
              1)
        << "the interface that all have is no service";
    path_ = fs::path(path_).parent_path();
}

TEST_F(RegistryTest, ThreadsMayRegisterAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> refused{0};
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&refused, thread] {
            const sp<IEcho> service = new EchoService;
            for (int i = 0; i < 100; ++i) {
                const std::string name = std::to_string(thread) + "-" + std::to_string(i);
                refused += service->registerAsService(name) == android::OK ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(refused, 0);
}

TEST_F(RegistryTest, ALaterServiceReplacesOneOfItsName) {
    const ServiceProcess first;
    const sp<IEcho> firstEcho = IEcho::getService();
    const ServiceProcess second;
    EXPECT_FALSE(android::hardware::interfacesEqual(firstEcho, IEcho::getService()));
    EXPECT_TRUE(firstEcho->ping().isOk()) << "who has the first one keeps it";
}

TEST_F(RegistryTest, LookUpOfADyingServiceFindsItsSuccessor) {
    const ServiceProcess comeBack("brief");
    const std::string socketName =
        *Registry::open(Registry::Mode::kLookUp)->find(IEcho::descriptor, "brief");
    const FakeService dying("brief", [&](int listener) {
        Peer client = acceptFrom(listener);
        Frame question;
        EXPECT_TRUE(client.receive(&question));
        std::optional<Registry> registry = Registry::open(Registry::Mode::kCreate);
        EXPECT_EQ(registry->publish(IEcho::descriptor, "brief", socketName), 0);
    });
    const sp<IEcho> echo = IEcho::getService("brief");
    EXPECT_TRUE(echo != nullptr && echo->ping().isOk());
}

TEST_F(RegistryTest, SocketsOfDeadProcessesAreRemovedByTheNextOne) {
    { const ServiceProcess killed("killed"); }
    const ServiceProcess next("next");
    EXPECT_EQ(std::count_if(fs::directory_iterator(path_), {},
                            [](const auto& entry) {
                                return entry.symlink_status().type() == fs::file_type::socket;
                            }),
              1);
}

TEST_F(RegistryTest, ServicesInOtherPidNamespacesAreFound) {
    const ServiceProcess outside("outside");
    std::promise<bool> started;
    std::promise<void> isSeen;
    // What a thread unshares holds for the processes that it starts, and they end with it.
    std::thread starter([&] {
        const bool isUnshared = unshare(CLONE_NEWPID) == 0;
        const auto inside = isUnshared ? std::make_unique<ServiceProcess>("inside") : nullptr;
        started.set_value(isUnshared);
        isSeen.get_future().wait();
    });
    const bool isAllowed = started.get_future().get();
    if (isAllowed) {
        EXPECT_NE(IEcho::getService("outside"), nullptr) << "its socket is not removed as dead";
        const sp<IEcho> echo = IEcho::getService("inside");
        for (int i = 0; i < 10; ++i) {
            EXPECT_TRUE(android::hardware::interfacesEqual(echo, IEcho::getService("inside")));
        }
    }
    isSeen.set_value();
    starter.join();
    if (!isAllowed) GTEST_SKIP() << "a PID namespace takes more rights";
}

}  // namespace
}  // namespace moriak_test
