// Finding services: what the directory of sockets says and what it must not be believed.
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <sys/stat.h>

#include <algorithm>
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
        mkdtemp(path_.data());
        setenv("MORIAK_HIDL_RUNTIME_DIR", path_.c_str(), 1);
    }
    ~RegistryTest() override { fs::remove_all(path_); }

    std::string path_ = testing::TempDir() + "moriak-registry-XXXXXX";
};

TEST_F(RegistryTest, EntriesThatLeadToNoProcessAreNoServices) {
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

TEST_F(RegistryTest, NamesThatAreNoFileNamesAreRefused) {
    const sp<IEcho> service = new EchoService;
    for (const std::string& name : {std::string(), std::string("../up"), std::string(5000, 'n')}) {
        EXPECT_NE(service->registerAsService(name), android::OK) << name.size();
        EXPECT_EQ(IEcho::getService(name), nullptr) << name.size();
    }
}

TEST_F(RegistryTest, TheDirectoryIsClosedToOthersAndALaterServiceReplacesOneOfItsName) {
    chmod(path_.c_str(), 0755);
    const ServiceProcess first;
    const sp<IEcho> firstEcho = IEcho::getService();
    EXPECT_EQ(fs::status(path_).permissions(), fs::perms::owner_all);
    const ServiceProcess second;
    EXPECT_FALSE(android::hardware::interfacesEqual(firstEcho, IEcho::getService()));
    EXPECT_TRUE(firstEcho->ping().isOk()) << "who has the first one keeps it";
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

}  // namespace
}  // namespace moriak_test
