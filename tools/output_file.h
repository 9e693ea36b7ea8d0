// A file that is written from start to end, and takes its name only when it is whole.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

/// Writes to a temporary file beside the one that is asked for; close() gives it the name. A file
/// of that name stays as it is until then, and for good if close() is never reached. What is no
/// regular file (a device node, a pipe) is written to directly.
///
/// Keeps the first error until someone asks for it: write() is called from stream callbacks, which
/// must not throw.
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

    /// As the user wrote it, for messages.
    const std::filesystem::path path_;
    /// The file itself, where links lead to it.
    std::filesystem::path target_;
    /// Empty while there is none.
    std::string temporary_;
    std::unique_ptr<std::FILE, Close> file_;
    int error_ = 0;
};
