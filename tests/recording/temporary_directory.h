// A directory for the files of one test.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

class TemporaryDirectory {
  public:
    TemporaryDirectory() : path_(testing::TempDir() + "recordingXXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) {
            std::abort();
        }
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::filesystem::path path() const { return path_; }

    /// Replaces a file below the directory; makes the directories that lead to it.
    std::filesystem::path write(const std::string& name, const std::string& text) const {
        const std::filesystem::path file = path() / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }

  private:
    std::string path_;
};

/// What `action` throws; fails if it throws nothing.
template <typename Action>
std::string errorOf(const Action& action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    ADD_FAILURE() << "no error";
    return "";
}
