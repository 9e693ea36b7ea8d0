// A file that is written from start to end.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>

/// Keeps the first error until someone asks for it: write() is called from stream callbacks, which
/// must not throw.
class OutputFile {
  public:
    /// Replaces a file of that name. Throws Failure with the name and the reason.
    explicit OutputFile(std::filesystem::path path);

    void write(std::string_view text) noexcept;

    /// Throws Failure if a write has failed.
    void check() const;

    /// Writes out what is left. Throws Failure if that, or an earlier write, has failed.
    void close();

  private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::filesystem::path path_;
    std::unique_ptr<std::FILE, Close> file_;
    int error_ = 0;
};
