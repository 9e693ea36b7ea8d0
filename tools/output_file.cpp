// Buffered writing whose errors are not lost.
#include "output_file.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "failure.h"

namespace {

Failure cannotWrite(const std::filesystem::path& path, int error) {
    return {ExitCode::FAILED,
            "cannot write " + path.string() + ": " + std::generic_category().message(error)};
}

}  // namespace

OutputFile::OutputFile(std::filesystem::path path)
    : path_(std::move(path)), file_(std::fopen(path_.c_str(), "we")) {
    if (file_ == nullptr) {
        throw cannotWrite(path_, errno);
    }
}

void OutputFile::write(std::string_view text) noexcept {
    if (error_ == 0 && std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) {
        error_ = errno;
    }
}

void OutputFile::check() const {
    if (error_ != 0) {
        throw cannotWrite(path_, error_);
    }
}

void OutputFile::close() {
    if (std::fclose(file_.release()) != 0 && error_ == 0) {
        error_ = errno;
    }
    check();
}
