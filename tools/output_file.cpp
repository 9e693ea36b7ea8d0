// Buffered writing that keeps the first error.
#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "failure.h"

namespace {

Failure cannotWrite(const std::filesystem::path& path, int error) {
    return {ExitCode::FAILED,
            "cannot write " + path.string() + ": " + std::generic_category().message(error)};
}

/// The permissions that a new file gets from open().
mode_t newFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path) : path_(path) {
    struct stat status {};
    const bool isThere = stat(path.c_str(), &status) == 0;
    if (isThere && !S_ISREG(status.st_mode)) {
        file_.reset(std::fopen(path.c_str(), "we"));
    } else if (!isThere || access(path.c_str(), W_OK) == 0) {
        std::error_code error;
        target_ = std::filesystem::weakly_canonical(path, error);
        openTemporary(isThere ? status.st_mode & 0777 : newFileMode());
    }
    if (file_ == nullptr) {
        throw cannotWrite(path_, errno);
    }
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
}

void OutputFile::openTemporary(mode_t mode) {
    std::string name = target_.string() + ".XXXXXX";
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    temporary_ = name;
    fchmod(descriptor, mode);
    file_.reset(fdopen(descriptor, "w"));
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
    if (!temporary_.empty()) {
        if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
            throw cannotWrite(path_, errno);
        }
        temporary_.clear();
    }
}
