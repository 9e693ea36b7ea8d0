// A file that is written sequentially, and gets its name only when it is complete.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

/// Writes to a temporary file in the same directory, which close() renames. An existing file is
/// unchanged until then, and stays if close() is never reached. Anything but a regular file (a
/// device node, a pipe) is written directly.
///
/// write() does not throw, because stream callbacks call it; check() and close() report the first
/// error.
class OutputFile {
  public:
    /// Throws Failure with the name and the reason.
    explicit OutputFile(const std::filesystem::path& path);
    /// Removes the temporary file, unless close() has given it the name.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view text) noexcept;

    /// Throws Failure if a write has failed.
    void check() const;

    /// Writes out what is left and replaces a file of that name. Throws Failure if that, or an
    /// earlier write, has failed.
    void close();

  private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void openTemporary(mode_t mode);

    /// The path as the user wrote it, for messages.
    const std::filesystem::path path_;
    /// The path after following symbolic links.
    std::filesystem::path target_;
    /// Path of the temporary file; empty if there is none.
    std::string temporary_;
    std::unique_ptr<std::FILE, Close> file_;
    int error_ = 0;
};
