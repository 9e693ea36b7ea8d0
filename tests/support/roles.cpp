// The main function of programs with roles: a test runner, or one of the roles.
#include "support/roles.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace TestSupport {
namespace {

constexpr char kRoleOption[] = "--role";

std::map<std::string, int (*)()>& roles() {
    static std::map<std::string, int (*)()> instance;
    return instance;
}

std::string givenArgument;

int run(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == kRoleOption) {
        givenArgument = argv[3];
        return roles().at(argv[2])();
    }
    ::testing::InitGoogleTest(&argc, argv);
    // Other tests leave HIDL threads behind, which a mere fork would lose.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    return RUN_ALL_TESTS();
}

}  // namespace

ClientRole::ClientRole(const char* name, int (*run)()) {
    roles()[name] = run;
}

std::unique_ptr<ChildProcess> startClient(const std::string& role, const std::string& argument) {
    return std::make_unique<ChildProcess>(
        std::vector<std::string>{"/proc/self/exe", kRoleOption, role, argument});
}

const std::string& roleArgument() {
    return givenArgument;
}

}  // namespace TestSupport

int main(int argc, char** argv) {
    return TestSupport::run(argc, argv);
}
