// Where the services of a test and its processes find each other, and nobody else's are.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace TestSupport {

/// A runtime directory of its own, removed with the object. That of a process which a death test
/// starts, and which does not live to remove it, lies in that of the test.
class RuntimeDirectory {
  public:
    RuntimeDirectory() {
        const char* const outer = std::getenv(kOuter);
        path_ = (outer == nullptr ? std::filesystem::temp_directory_path()
                                  : std::filesystem::path(outer)) /
                "moriak-XXXXXX";
        if (mkdtemp(path_.data()) == nullptr) {
            std::abort();
        }
        setenv(kOuter, path_.c_str(), 1);
        use();
    }
    ~RuntimeDirectory() {
        unsetenv(kVariable);
        unsetenv(kOuter);
        std::filesystem::remove_all(path_);
    }
    RuntimeDirectory(const RuntimeDirectory&) = delete;
    RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;

    /// The one of this program, until it ends: a process keeps its socket where it first opened it.
    static const RuntimeDirectory& ofProgram() {
        static const RuntimeDirectory directory;
        directory.use();
        return directory;
    }

    const std::string& path() const { return path_; }

  private:
    void use() const { setenv(kVariable, path_.c_str(), 1); }

    static constexpr char kVariable[] = "MORIAK_HIDL_RUNTIME_DIR";
    /// Not the one above: that may be the user's.
    static constexpr char kOuter[] = "MORIAK_TEST_RUNTIME_DIR";

    std::string path_;
};

}  // namespace TestSupport
