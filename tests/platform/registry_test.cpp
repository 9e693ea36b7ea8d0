// Finding services: what the directory of sockets says and what it must not be believed.
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/echo_service.h"

namespace moriak_test {
namespace {

namespace fs = std::filesystem;

/** Lookups in a directory that only this test uses. */
class RegistryTest : public testing::Test {
  protected:
    RegistryTest() {
        std::string name = testing::TempDir() + "moriak-registry-XXXXXX";
        path_ = mkdtemp(name.data());
        setenv("MORIAK_HIDL_RUNTIME_DIR", path_.c_str(), 1);
    }
    ~RegistryTest() override { fs::remove_all(path_); }

    void link(const std::string& instance, const std::string& target) {
        fs::create_symlink(target, path_ + "/moriak.test.calls@1.0::IEcho=" + instance);
    }

    std::string path_;
};

TEST_F(RegistryTest, WithNothingRegisteredLookupsReturnNull) {
    EXPECT_EQ(IEcho::getService(), nullptr);
    EXPECT_EQ(IEcho::tryGetService("other"), nullptr);
    fs::remove_all(path_);
    EXPECT_EQ(IEcho::getService(), nullptr);
    EXPECT_FALSE(fs::exists(path_)) << "looking up creates nothing";
}

TEST_F(RegistryTest, EntriesThatLeadToNoProcessAreNoServices) {
    link("gone", "process-1-1");
    link("outside", "../../../etc/passwd");
    link("noname", "process--1");
    link("overflow", "process-99999999999999999999-1");
    for (const char* instance : {"gone", "outside", "noname", "overflow"}) {
        EXPECT_EQ(IEcho::getService(instance), nullptr) << instance;
    }
}

TEST_F(RegistryTest, NamesThatAreNoFileNamesAreRefused) {
    const sp<IEcho> service = new EchoService;
    for (const std::string& name : {std::string(), std::string("../up"), std::string(5000, 'n')}) {
        EXPECT_NE(service->registerAsService(name), android::OK) << name.size();
        EXPECT_EQ(IEcho::getService(name), nullptr) << name.size();
    }
}

TEST_F(RegistryTest, TheDirectoryIsClosedToOtherUsers) {
    chmod(path_.c_str(), 0755);
    const ServiceProcess process;
    EXPECT_NE(IEcho::getService(), nullptr);
    EXPECT_EQ(fs::status(path_).permissions(), fs::perms::owner_all);
}

TEST_F(RegistryTest, AServiceIsReplacedByALaterOneOfItsName) {
    const ServiceProcess first;
    const sp<IEcho> firstEcho = IEcho::getService();
    const ServiceProcess second;
    const sp<IEcho> secondEcho = IEcho::getService();
    ASSERT_NE(secondEcho, nullptr);
    EXPECT_FALSE(android::hardware::interfacesEqual(firstEcho, secondEcho));
    EXPECT_TRUE(firstEcho->ping().isOk()) << "who has the first one keeps it";
}

TEST_F(RegistryTest, SocketsOfDeadProcessesAreRemovedByTheNextOne) {
    { const ServiceProcess killed("killed"); }
    const ServiceProcess next("next");
    size_t sockets = 0;
    for (const auto& entry : fs::directory_iterator(path_))
        sockets += entry.is_socket() && !entry.is_symlink();
    EXPECT_EQ(sockets, 1u);
}

}  // namespace
}  // namespace moriak_test
